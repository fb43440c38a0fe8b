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

// The result of apply, which gets the records of both.
template <typename Apply>
int take_over(const relay_hub::CallSite& site, const std::string& src, const std::string& dst, Apply apply) {
    struct stat source {};
    struct stat target {};
    if (reported(site, lstat(src.c_str(), &source), src) != 0 ||
        reported(site, lstat(dst.c_str(), &target), dst) != 0)
        return -1;
    return reported(site, apply(source, target), dst);
}

int set_times(const std::string& path, time_t accessed, time_t modified) {
    const utimbuf times{accessed, modified};
    return utime(path.c_str(), &times);
}

}  // namespace

int duplicate_file_mode(const std::string& src, const std::string& dst) {
    return take_over(FILE_OP_HERE, src, dst, [&](const struct stat& source, const struct stat&) {
        return chmod(dst.c_str(), source.st_mode);
    });
}

int duplicate_file_owner(const std::string& src, const std::string& dst) {
    return take_over(FILE_OP_HERE, src, dst, [&](const struct stat& source, const struct stat&) {
        return chown(dst.c_str(), source.st_uid, source.st_gid);
    });
}

int duplicate_file_access_time(const std::string& src, const std::string& dst) {
    return take_over(FILE_OP_HERE, src, dst, [&](const struct stat& source, const struct stat& target) {
        return set_times(dst, source.st_atime, target.st_mtime);
    });
}

int duplicate_file_modify_time(const std::string& src, const std::string& dst) {
    return take_over(FILE_OP_HERE, src, dst, [&](const struct stat& source, const struct stat& target) {
        return set_times(dst, target.st_atime, source.st_mtime);
    });
}
