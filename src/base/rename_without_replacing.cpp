#include "base/rename_without_replacing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace relay_hub {
namespace {

bool is_other_spelling(const struct stat& from, const struct stat& to) {
    return from.st_dev == to.st_dev && from.st_ino == to.st_ino &&
           (S_ISDIR(from.st_mode) || from.st_nlink == 1);
}

// The file has both names, and the removal of the old one failed: 0 or errno. Only a refusal says that the
// old one stays. Where a network loses the answer the old one may be gone, and the new one is the file's only
// name.
int undo_link(int to_folder, const std::string& to, int unlink_error) {
    const bool old_name_stays =
        unlink_error == EACCES || unlink_error == EPERM || unlink_error == EBUSY || unlink_error == EROFS;
    if (old_name_stays)
        (void)unlinkat(to_folder, to.c_str(), 0);
    return unlink_error == ENOENT ? 0 : unlink_error;
}

// 0, ENOENT for a free name, or EEXIST.
int look_at_target(int from_folder, const std::string& from, int to_folder, const std::string& to) {
    struct stat source {};
    struct stat target {};
    if (fstatat(to_folder, to.c_str(), &target, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    const bool same = from != to && fstatat(from_folder, from.c_str(), &source, AT_SYMLINK_NOFOLLOW) == 0 &&
                      is_other_spelling(source, target);
    return same ? 0 : EEXIST;
}

}  // namespace

int rename_without_replacing(int from_folder, const std::string& from, int to_folder, const std::string& to) {
    if (renameat2(from_folder, from.c_str(), to_folder, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    const int refusal = errno;
    if (refusal != EINVAL && refusal != ENOSYS && refusal != EEXIST)
        return refusal;
    // A file system without the flag: a hard link refuses a taken name just as surely.
    if (refusal != EEXIST && linkat(from_folder, from.c_str(), to_folder, to.c_str(), 0) == 0) {
        const bool moved = unlinkat(from_folder, from.c_str(), 0) == 0;
        return moved ? 0 : undo_link(to_folder, to, errno);
    }
    const int there = look_at_target(from_folder, from, to_folder, to);
    if (there != 0 && (there != ENOENT || refusal == EEXIST))
        return there == ENOENT ? EEXIST : there;
    return renameat(from_folder, from.c_str(), to_folder, to.c_str()) == 0 ? 0 : errno;
}

}  // namespace relay_hub
