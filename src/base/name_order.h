#pragma once
// The order of names in a list: natural, digits by their number, as the locale has it. Any thread.
#include <string>

namespace relay_hub {

// Appends to keys the key that strcmp compares, without a zero at its end. name is UTF-8. Where the locale's
// collation is plain bytes, as in a locale that was never generated, case counts for nothing, so that "alpha"
// stands before "Beta".
void append_name_sort_key(const char* name, std::string& keys);

}  // namespace relay_hub
