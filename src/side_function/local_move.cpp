#include "side_function/local_move.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <string_view>
#include <system_error>

#include "base/path_text.h"
#include "base/rename_without_replacing.h"
#include "util/file_identity.h"
#include "util/tree_walk.h"

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
        (a.st_mode & S_IFMT) != (b.st_mode & S_IFMT) || is_same_entry(a, b))
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

bool lies_at_or_below(const std::string& path, const std::string& top) {
    return path.starts_with(top) &&
           (path.size() == top.size() || top.ends_with('/') || path[top.size()] == '/');
}

bool concerns(const std::string& doubtful, const std::string& path) {
    return lies_at_or_below(doubtful, path) || lies_at_or_below(path, doubtful);
}

// A path that ends in ".." or "." names something else in the folder.
bool has_name(const std::string& path) {
    const std::string name = base_name(path);
    return name != "." && name != "..";
}

void mix(std::uint64_t& sum, std::uint64_t value) {
    constexpr std::uint64_t kPrime = 0x100000001b3;
    sum = (sum ^ value) * kPrime;
}

std::uint64_t look_of(const WalkEntry& entry) {
    const struct stat& status = entry.status;
    std::uint64_t sum = std::hash<std::string>()(entry.path);
    for (const auto value :
         {static_cast<std::uint64_t>(status.st_ino), static_cast<std::uint64_t>(status.st_size),
          static_cast<std::uint64_t>(status.st_mtim.tv_sec),
          static_cast<std::uint64_t>(status.st_mtim.tv_nsec),
          static_cast<std::uint64_t>(status.st_ctim.tv_sec),
          static_cast<std::uint64_t>(status.st_ctim.tv_nsec)})
        mix(sum, value);
    return sum;
}

std::optional<std::uint64_t> fingerprint(const std::string& path) {
    std::uint64_t sum = 0;
    const int end = walk_tree(path, [&sum](const WalkEntry& entry) {
        sum += look_of(entry);  // a folder may tell its entries in another order
        return entry.error_number == 0 ? 0 : -1;
    });
    return end == 0 ? std::optional(sum) : std::nullopt;
}

}  // namespace

std::string place_in(const std::string& folder, const std::string& path) {
    return join_local_path(folder, base_name(path));
}

Paths rename_into(const std::string& folder, Paths paths) {
    std::erase_if(paths, [&](const std::string& path) {
        const std::string place = place_in(folder, path);
        return path == place || rename_without_replacing(AT_FDCWD, path, AT_FDCWD, place) == 0;
    });
    return paths;
}

Paths undoubted(const std::string& folder, Paths paths, const Paths& doubtful) {
    std::erase_if(paths, [&](const std::string& path) {
        const std::string place = place_in(folder, path);
        return !has_name(path) ||
               std::any_of(doubtful.begin(), doubtful.end(), [&](const std::string& doubt) {
                   return concerns(doubt, path) || concerns(doubt, place);
               });
    });
    return paths;
}

Paths arrived_whole(const std::string& folder, Paths paths) {
    std::erase_if(paths, [&](const std::string& path) { return !same_tree(path, place_in(folder, path)); });
    return paths;
}

Paths without(Paths paths, const Paths& others) {
    const std::set<std::string_view> gone(others.begin(), others.end());
    std::erase_if(paths, [&](const std::string& path) { return gone.contains(path); });
    return paths;
}

Fingerprints fingerprints_of(const Paths& paths) {
    Fingerprints fingerprints;
    for (const std::string& path : paths)
        fingerprints.emplace(path, fingerprint(path));
    return fingerprints;
}

Paths changed_since(const Fingerprints& before, Paths paths) {
    std::erase_if(paths, [&](const std::string& path) {
        const auto known = before.find(path);
        return known != before.end() && known->second && known->second == fingerprint(path);
    });
    return paths;
}

}  // namespace relay_hub
