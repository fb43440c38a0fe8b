#pragma once
// The order of names in a list: natural, digits by their number, as the locale has it. Any thread.
#include "base/glib_owners.h"

namespace relay_hub {

// A key that strcmp compares. name is UTF-8. Where the locale's collation is plain bytes, as in a locale that
// was never generated, case counts for nothing, so that "alpha" stands before "Beta".
GText name_sort_key(const char* name);

}  // namespace relay_hub
