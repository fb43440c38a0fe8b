#include "engine/folder_lookup.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace relay_hub::engine {
namespace {

bool by_name(const Entry& a, const Entry& b) {
    return a.name < b.name;
}

}  // namespace

FolderLookup::FolderLookup(RemoteFileSystem& files, const std::string& folder, std::size_t lookups)
    : files_(&files) {
    Listing listing;
    // What is in a folder that cannot be listed may still be looked at.
    if (lookups < kManyLookups || files.list(folder, listing) || !listing.failed.empty())
        return;
    files_ = nullptr;
    entries_ = std::move(listing.entries);
    std::sort(entries_.begin(), entries_.end(), by_name);
}

Error FolderLookup::find(const std::string& folder, const std::string& name, Entry& entry) const {
    if (files_ != nullptr)
        return files_->stat(join_path(folder, name), entry);
    const auto found = std::lower_bound(
        entries_.begin(), entries_.end(), name,
        [](const Entry& candidate, const std::string& wanted) { return candidate.name < wanted; });
    if (found == entries_.end() || found->name != name)
        return ENOENT;
    entry = *found;
    return {};
}

}  // namespace relay_hub::engine
