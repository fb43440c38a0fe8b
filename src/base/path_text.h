#pragma once
// Joining a folder and a name, on this machine and on the remote computer. Pure, any thread.
#include <string>

namespace relay_hub {

// folder and name with exactly one separator between them: a backslash for a drive-letter folder, else "/".
std::string join_remote_path(const std::string& folder, const std::string& name);
// folder and name with exactly one "/" between them.
std::string join_local_path(const std::string& folder, const std::string& name);

}  // namespace relay_hub
