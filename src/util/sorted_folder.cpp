#include "util/sorted_folder.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/name_order.h"
#include "base/worker.h"

namespace relay_hub {
namespace {

using KeyedName = SortedFolder::KeyedName;
using Names = std::vector<KeyedName>;

// Fewer than this are sorted before a second thread would have begun.
constexpr std::ptrdiff_t kManyNames = 5000;

bool sorts_before(const KeyedName& one, const KeyedName& other) {
    const int order = std::strcmp(one.key.get(), other.key.get());
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

void sort_part(Names::iterator begin, Names::iterator end) {
    for (auto each = begin; each != end; ++each)
        each->key = sort_key(each->name);
    std::sort(begin, end, sorts_before);
}

// Many names are sorted in two halves at once: the thread that waits for them leaves a processor idle.
void sort_names(Names& names) {
    const auto middle = names.begin() + static_cast<std::ptrdiff_t>(names.size() / 2);
    if (middle - names.begin() >= kManyNames / 2) {
        const auto sort_second_half = [middle, end = names.end()] { sort_part(middle, end); };
        Worker half;
        if (half.start("half of a sort", sort_second_half) != 0)
            sort_second_half();
        sort_part(names.begin(), middle);
        half.join();
        std::inplace_merge(names.begin(), middle, names.end(), sorts_before);
    } else {
        sort_part(names.begin(), names.end());
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
    names_.reserve(starts.size());
    for (const std::size_t start : starts)
        names_.push_back({text_.data() + start, nullptr});
    sort_names(names_);
}

FolderEntry SortedFolder::entry(std::size_t index) {
    FolderEntry entry;
    entry.name = names_[index].name;
    // Here rather than for all at once, so that nobody waits for it.
    names_[index].key.reset();
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
