#include "xml_doc/tag_index.h"

#include <cctype>

namespace relay_hub {

std::string TagIndex::key(std::string_view name) {
    std::string lowered(name);
    for (char& c : lowered)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lowered;
}

void TagIndex::append(std::string_view name, size_t position) {
    positions_[key(name)].push_back(position);
}

const std::vector<size_t>& TagIndex::positions(std::string_view name) const {
    static const std::vector<size_t> none;
    const auto entry = positions_.find(key(name));
    return entry == positions_.end() ? none : entry->second;
}

}  // namespace relay_hub
