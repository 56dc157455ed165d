#pragma once

#include <tamberline/tamberlinecontrol.h>

// The query outlives every control on its thread; tests start from the initial values.
inline void resetThreadQuery()
{
    Tamberline control;
    control.setUrl1({});
    control.setAllowNav2(false);
    control.setSearchText({});
    control.setNodeOffset(0);
    control.ClearAttribs();
}
