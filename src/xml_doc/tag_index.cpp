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

std::span<const size_t> TagIndex::positions(std::string_view name) const {
    const auto entry = positions_.find(key(name));
    return entry == positions_.end() ? std::span<const size_t>() : entry->second;
}

}  // namespace relay_hub
