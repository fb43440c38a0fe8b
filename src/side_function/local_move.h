#pragma once
// Moving entries on this machine without ever leaving one at neither end. Any thread.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace relay_hub {

using Paths = std::vector<std::string>;

// Where an entry goes in folder.
std::string place_in(const std::string& folder, const std::string& path);
// Renames the entries into folder where that is possible without replacing anything. The paths that still are
// where they were: on another file system, or because their name is taken.
Paths rename_into(const std::string& folder, Paths paths);
// The paths that were copied into folder without a failure; doubtful holds the paths, at either end, of
// entries that failed.
Paths undoubted(const std::string& folder, Paths paths, const Paths& doubtful);
// Those that arrived in folder completely: same kinds, sizes, times and link targets.
Paths arrived_whole(const std::string& folder, Paths paths);
// The paths that are not among the others.
Paths without(Paths paths, const Paths& others);

// By its path, what an entry and all below it look like; nothing where part of that cannot be read.
using Fingerprints = std::map<std::string, std::optional<std::uint64_t>>;
Fingerprints fingerprints_of(const Paths& paths);
// Those of the paths that do not look as they did before.
Paths changed_since(const Fingerprints& before, Paths paths);

}  // namespace relay_hub
