#pragma once
// Renaming on this machine. Any thread.
#include <string>

namespace relay_hub {

// Renames unless another entry bears the new name. 0, or -1 with errno set (EEXIST for a taken name).
int rename_without_replacing(const std::string& from, const std::string& to);

}  // namespace relay_hub
