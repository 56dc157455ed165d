#pragma once

#include "document/document.h"

// Whether the browser runs script of the page as it loads it, before anyone touches it:
// the static reader runs none, so on such a page it may not see what the browser shows.
bool runsScriptsOnLoad(const Document &document);
