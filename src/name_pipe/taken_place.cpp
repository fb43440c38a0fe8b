#include "name_pipe/taken_place.h"

#include "base/ownership.h"
#include "base/translated_text.h"

namespace relay_hub {

std::string taken_place(const std::string& base) {
    for (const char* end : {"_IN", "_OUT"})
        if (const auto owner = foreign_owner(base + end))
            return fill_translated("IDS_MSG_PLACE_TAKEN", {base + end, *owner});
    return {};
}

}  // namespace relay_hub
