#pragma once

class Tamberline;

// Opens the attribute list editor on the control's filters (up to the first blank entry) and,
// when the user presses OK, rebuilds the filters from its lines (again up to the first blank
// line). Returns whether the user pressed OK.
bool EditAttributeFilters(Tamberline &control);
