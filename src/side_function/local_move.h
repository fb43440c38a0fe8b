#pragma once
// Moving entries on this machine without ever leaving one at neither end. Any thread.
#include <string>
#include <vector>

namespace relay_hub {

// Where an entry goes in folder.
std::string place_in(const std::string& folder, const std::string& path);
// Renames the entries into folder where that is possible without replacing anything. The paths that still are
// where they were: on another file system, or because their name is taken.
std::vector<std::string> rename_into(const std::string& folder, const std::vector<std::string>& paths);
// Those of the paths of which everything stands in folder too: same kinds, sizes, times and targets of links.
std::vector<std::string> arrived_whole(const std::string& folder, const std::vector<std::string>& paths);

}  // namespace relay_hub
