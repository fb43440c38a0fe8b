#include "util/Zev_file_op.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <optional>

#include "base/file_descriptor.h"
#include "base/glib_owners.h"
#include "util/file_op_unit.h"

relay_hub::FileOpState relay_hub::file_op_state;

namespace {

constexpr int kNoType = 0;

struct KnownType {
    mode_t format;
    int type;
};
constexpr KnownType kKnownTypes[] = {{S_IFLNK, 2}, {S_IFREG, 3}, {S_IFDIR, 4},
                                     {S_IFCHR, 5}, {S_IFBLK, 6}, {S_IFSOCK, 7}};

int permission_type(mode_t mode) {
    for (const KnownType& known : kKnownTypes)
        if (known.format == (mode & S_IFMT))
            return known.type;
    return kNoType;
}

// 1 or 0, or nothing (errno set) when the right cannot be determined.
std::optional<int> has_right(const std::string& path, int right) {
    if (access(path.c_str(), right) == 0)
        return 1;
    if (errno == EACCES || errno == EROFS)
        return 0;
    return std::nullopt;
}

}  // namespace

int check_cancel(void* job) {
    return get_atomic(&static_cast<__task_list*>(job)->state) == TASK_CANCEL ? 0 : -1;
}

int Gfile_file_exist(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status);
}

int Gfile_check_file_type(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0)
        return 0;
    relay_hub::report_error(FILE_OP_LINE(466), errno);
    return -1;
}

std::uint64_t Gfile_get_file_size(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0)
        return static_cast<std::uint64_t>(status.st_size);
    relay_hub::report_error(FILE_OP_LINE(128), errno, path);
    return 0;
}

int Gfile_check_file_type_permission(const std::string& path, __file_permission* out) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        relay_hub::report_error(FILE_OP_LINE(518), errno);
        return -1;
    }
    out->type = permission_type(status.st_mode);
    if (out->type == kNoType) {
        relay_hub::report(FILE_OP_LINE(538), path);
        errno = ENOTSUP;
        return -1;
    }
    out->readable = access(path.c_str(), R_OK) == 0 ? 1 : 0;
    const std::optional<int> writable = has_right(path, W_OK);
    if (!writable) {
        relay_hub::report_error(FILE_OP_LINE(562), errno);
        return -1;
    }
    out->writable = *writable;
    const std::optional<int> executable = has_right(path, X_OK);
    if (!executable) {
        relay_hub::report_error(FILE_OP_LINE(578), errno);
        return -1;
    }
    out->executable = *executable;
    return 0;
}

int Gfile_check_path_permission(const std::string& path) {
    GError* raw_error = nullptr;
    const relay_hub::GDirPtr dir(g_dir_open(path.c_str(), 0, &raw_error));
    const relay_hub::GErrorPtr error(raw_error);
    if (dir)
        return 1;
    if (g_error_matches(error.get(), G_FILE_ERROR, G_FILE_ERROR_ACCES))
        relay_hub::report(FILE_OP_LINE(154), "G_FILE_ERROR_ACCES");
    else
        std::printf("code:[%d]\tmessage:[%s]\n", error->code, error->message);
    return 0;
}

int Gfile_check_del_op(const std::string& path) {
    __file_permission permission;
    if (Gfile_check_file_type_permission(path, &permission) != 0) {
        relay_hub::report(FILE_OP_LINE(784), "can't get file permission!");
        return -1;
    }
    if (permission.executable == 1)
        return 0;
    const std::string line = "The folder/file \"" + path +
                             "\" cannot be handled because\n"
                             "you do not have permissions to entry it.";
    // The zero byte is part of the line.
    (void)relay_hub::write_all(STDERR_FILENO, line.c_str(), line.size() + 1);
    return -1;
}
