#include "base/ownership.h"

#include <pwd.h>
#include <unistd.h>

#include <array>

namespace relay_hub {

bool is_ours_or_roots(const struct stat& status) {
    return status.st_uid == ::geteuid() || status.st_uid == 0;
}

std::optional<std::string> foreign_owner(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || is_ours_or_roots(status))
        return std::nullopt;
    std::array<char, 4096> texts{};
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(status.st_uid, &entry, texts.data(), texts.size(), &found) == 0 && found != nullptr)
        return found->pw_name;
    return std::to_string(status.st_uid);
}

}  // namespace relay_hub
