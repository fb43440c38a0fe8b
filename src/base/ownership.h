#pragma once
// Who owns a file in a shared folder. Any thread.
#include <sys/stat.h>

#include <optional>
#include <string>

namespace relay_hub {

// Whether the file belongs to the user of this process or to root. Nothing else under /tmp is trusted.
bool is_ours_or_roots(const struct stat& status);
// The login name (or, without one, the number) of the owner of path, if that is neither this user
// nor root. Links are not followed; nothing when there is no such path.
std::optional<std::string> foreign_owner(const std::string& path);

}  // namespace relay_hub
