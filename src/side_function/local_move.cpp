#include "side_function/local_move.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>

#include "base/glib_owners.h"
#include "base/path_text.h"
#include "base/rename_without_replacing.h"

namespace relay_hub {
namespace {

namespace fs = std::filesystem;

// File systems keep times to two seconds at worst.
bool same_time(const timespec& one, const timespec& other) {
    return std::abs(one.tv_sec - other.tv_sec) < 2;
}

bool same_link(const std::string& one, const std::string& other) {
    std::error_code failed;
    const fs::path target = fs::read_symlink(one, failed);
    return !failed && target == fs::read_symlink(other, failed) && !failed;
}

bool same_entry(const std::string& one, const std::string& other) {
    struct stat a {};
    struct stat b {};
    if (::lstat(one.c_str(), &a) != 0 || ::lstat(other.c_str(), &b) != 0 ||
        (a.st_mode & S_IFMT) != (b.st_mode & S_IFMT))
        return false;
    if (S_ISREG(a.st_mode))
        return a.st_size == b.st_size && same_time(a.st_mtim, b.st_mtim);
    return S_ISDIR(a.st_mode) || (S_ISLNK(a.st_mode) && same_link(one, other));
}

bool same_tree(const std::string& one, const std::string& other) {
    if (!same_entry(one, other))
        return false;
    std::error_code failed;
    if (!fs::is_directory(fs::symlink_status(one, failed)))
        return !failed;
    fs::recursive_directory_iterator entry(one, failed);
    for (; !failed && entry != fs::recursive_directory_iterator(); entry.increment(failed)) {
        const std::string path = entry->path().native();
        if (!same_entry(path, other + path.substr(one.size())))
            return false;
    }
    return !failed;
}

}  // namespace

std::string place_in(const std::string& folder, const std::string& path) {
    return join_local_path(folder, GText(g_path_get_basename(path.c_str())).get());
}

std::vector<std::string> rename_into(const std::string& folder, const std::vector<std::string>& paths) {
    std::vector<std::string> left;
    std::copy_if(paths.begin(), paths.end(), std::back_inserter(left), [&](const std::string& path) {
        const std::string place = place_in(folder, path);
        return path != place && rename_without_replacing(AT_FDCWD, path, AT_FDCWD, place) != 0;
    });
    return left;
}

std::vector<std::string> arrived_whole(const std::string& folder, const std::vector<std::string>& paths) {
    std::vector<std::string> arrived;
    std::copy_if(paths.begin(), paths.end(), std::back_inserter(arrived), [&](const std::string& path) {
        const std::string place = place_in(folder, path);
        return place != path && same_tree(path, place);
    });
    return arrived;
}

}  // namespace relay_hub
