// Whether a text is well formed in the sense of CZEVXML::LoadXML, without building what it says: the check
// costs no memory but a name for each open element. Any thread; the status of the library is left alone.
#pragma once

#include <string_view>

namespace relay_hub {

// What CZEVXML().LoadXML(text) would return.
bool is_well_formed(std::string_view text);

}  // namespace relay_hub
