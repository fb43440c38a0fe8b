#pragma once
// The computers that the user's ssh configuration names. Reads small files of the user's; any thread.
#include <string>
#include <vector>

namespace relay_hub::connect {

// The names behind "Host" in the file at path and in the files that it includes, in their order and once
// each; what holds a wildcard or a "!" names no computer. home: what "~" means; other relative names of
// included files are below home + "/.ssh". A file that cannot be read adds nothing.
std::vector<std::string> ssh_config_hosts(const std::string& path, const std::string& home);

}  // namespace relay_hub::connect
