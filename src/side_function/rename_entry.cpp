#include "side_function/rename_entry.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

namespace relay_hub {
namespace {

// Both names lead to one entry: on a file system that ignores case the new spelling finds the old name.
bool is_other_spelling(const struct stat& from, const struct stat& to) {
    return from.st_dev == to.st_dev && from.st_ino == to.st_ino &&
           (S_ISDIR(from.st_mode) || from.st_nlink == 1);
}

}  // namespace

int rename_without_replacing(const std::string& from, const std::string& to) {
    if (from == to || ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    // Some file systems do not know the flag.
    if (errno != EINVAL && errno != EEXIST)
        return -1;
    struct stat source {};
    struct stat target {};
    if (::lstat(from.c_str(), &source) != 0)
        return -1;
    if (::lstat(to.c_str(), &target) == 0 && !is_other_spelling(source, target)) {
        errno = EEXIST;
        return -1;
    }
    return ::rename(from.c_str(), to.c_str());
}

}  // namespace relay_hub
