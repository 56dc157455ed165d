#pragma once

// Whether the browser may follow a navigation: always while navigation is allowed, else once
// per grant of navigateOnce (which nothing grants yet, so such a page never loads).
struct NavigationPermission {
    bool navigationAllowed = false;
    bool navigateOnce = false;

    bool allow()
    {
        if (navigationAllowed)
            return true;
        if (navigateOnce) {
            navigateOnce = false;
            return true;
        }
        return false;
    }
};
