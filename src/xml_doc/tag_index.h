// Where the children of each tag name stand in their parent's list, ignoring case. An element with many
// children keeps one, so that finding and counting children does not walk a growing list.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace relay_hub {

class TagIndex {
  public:
    // Positions must be appended in ascending order.
    void append(std::string_view name, size_t position);
    // Empty when no child bears the name; valid until the next append.
    std::span<const size_t> positions(std::string_view name) const;

  private:
    static std::string key(std::string_view name);

    std::unordered_map<std::string, std::vector<size_t>> positions_;
};

}  // namespace relay_hub
