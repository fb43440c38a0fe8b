#pragma once
// Moving entries on this machine without ever leaving one at neither end. Any thread.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace relay_hub {

// Where an entry goes in folder.
std::string place_in(const std::string& folder, const std::string& path);
// Renames the entries into folder where that is possible without replacing anything. The paths that still are
// where they were: on another file system, or because their name is taken.
std::vector<std::string> rename_into(const std::string& folder, const std::vector<std::string>& paths);
// The paths that were copied into folder without a failure; doubtful holds the paths, at either end, of
// entries that failed.
std::vector<std::string> undoubted(const std::string& folder, const std::vector<std::string>& paths,
                                   const std::vector<std::string>& doubtful);
// Those that arrived in folder completely: same kinds, sizes, times and link targets.
std::vector<std::string> arrived_whole(const std::string& folder, const std::vector<std::string>& paths);
// The paths that are not among the others.
std::vector<std::string> without(const std::vector<std::string>& paths,
                                 const std::vector<std::string>& others);

// By its path, what an entry and all below it look like; nothing where part of that cannot be read.
using Fingerprints = std::map<std::string, std::optional<std::uint64_t>>;
Fingerprints fingerprints_of(const std::vector<std::string>& paths);
// Those of the paths that do not look as they did before.
std::vector<std::string> changed_since(const Fingerprints& before, const std::vector<std::string>& paths);

}  // namespace relay_hub
