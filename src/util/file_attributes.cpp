#include "util/file_attributes.h"

#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <cerrno>

#include "util/file_op_unit.h"

namespace {

int reported(const relay_hub::CallSite& site, int result, const std::string& path) {
    if (result != 0)
        relay_hub::report_error(site, errno, path);
    return result;
}

// The records of both, as each duplicate_file_* needs them.
struct Pair {
    struct stat source {};
    struct stat target {};
};

int look_at_both(const std::string& src, const std::string& dst, Pair* pair) {
    const int source = reported(FILE_OP_HERE, lstat(src.c_str(), &pair->source), src);
    return source != 0 ? source : reported(FILE_OP_HERE, lstat(dst.c_str(), &pair->target), dst);
}

}  // namespace

int duplicate_file_mode(const std::string& src, const std::string& dst) {
    struct stat status {};
    if (reported(FILE_OP_HERE, lstat(src.c_str(), &status), src) != 0)
        return -1;
    return reported(FILE_OP_HERE, chmod(dst.c_str(), status.st_mode), dst);
}

int duplicate_file_owner(const std::string& src, const std::string& dst) {
    struct stat status {};
    if (reported(FILE_OP_HERE, lstat(src.c_str(), &status), src) != 0)
        return -1;
    return reported(FILE_OP_HERE, chown(dst.c_str(), status.st_uid, status.st_gid), dst);
}

int duplicate_file_access_time(const std::string& src, const std::string& dst) {
    Pair pair;
    if (look_at_both(src, dst, &pair) != 0)
        return -1;
    const utimbuf times{pair.source.st_atime, pair.target.st_mtime};
    return reported(FILE_OP_HERE, utime(dst.c_str(), &times), dst);
}

int duplicate_file_modify_time(const std::string& src, const std::string& dst) {
    Pair pair;
    if (look_at_both(src, dst, &pair) != 0)
        return -1;
    const utimbuf times{pair.target.st_atime, pair.source.st_mtime};
    return reported(FILE_OP_HERE, utime(dst.c_str(), &times), dst);
}
