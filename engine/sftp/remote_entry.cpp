#include "engine/sftp/remote_entry.h"

#include <sys/stat.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace relay_hub::engine::sftp {
namespace {

constexpr std::size_t kLongestName = 4096;

EntryKind kind_of(std::uint32_t permissions) {
    switch (permissions & S_IFMT) {
        case S_IFDIR:
            return EntryKind::kFolder;
        case S_IFLNK:
            return EntryKind::kLink;
        case S_IFREG:
            return EntryKind::kFile;
        default:
            return EntryKind::kSpecial;
    }
}

std::uint32_t seconds_of(const timespec& time) {
    return static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(time.tv_sec, 0, std::numeric_limits<std::uint32_t>::max()));
}

}  // namespace

Entry entry_of(std::string name, const Attributes& attributes) {
    Entry entry;
    entry.name = std::move(name);
    entry.has_mode = attributes.permissions.has_value();
    entry.has_times = attributes.times.has_value();
    entry.kind = entry.has_mode ? kind_of(*attributes.permissions) : EntryKind::kFile;
    entry.opens_as_folder = entry.kind == EntryKind::kFolder;
    // Owners are the server's: a copy never has the same one, and so none of the special bits.
    entry.mode = attributes.permissions.value_or(0) & ACCESSPERMS;
    entry.size = attributes.size.value_or(0);
    if (attributes.times) {
        entry.accessed.tv_sec = attributes.times->accessed;
        entry.modified.tv_sec = attributes.times->modified;
        entry.created = entry.modified;
    }
    return entry;
}

Attributes attributes_of(const Entry& entry) {
    Attributes attributes;
    if (entry.has_mode)
        attributes.permissions = entry.mode & ACCESSPERMS;
    if (entry.has_times)
        attributes.times = {seconds_of(entry.accessed), seconds_of(entry.modified)};
    return attributes;
}

bool is_possible_name(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.size() <= kLongestName &&
           name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

std::string inner_of(std::string_view server_path) {
    while (!server_path.empty() && server_path.front() == '/')
        server_path.remove_prefix(1);
    while (!server_path.empty() && server_path.back() == '/')
        server_path.remove_suffix(1);
    return std::string(server_path);
}

}  // namespace relay_hub::engine::sftp
