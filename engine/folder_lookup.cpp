#include "engine/folder_lookup.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <set>
#include <string_view>
#include <utility>

namespace relay_hub::engine {
namespace {

bool by_name(const Entry& a, const Entry& b) {
    return a.name < b.name;
}

std::size_t form_of(const std::string& name) {
    return std::hash<std::string>()(common_form(name));
}

}  // namespace

FolderLookup::FolderLookup(RemoteFileSystem& files, const std::string& folder, std::size_t lookups)
    : files_(&files) {
    Listing listing;
    // What is in a folder that cannot be listed may still be looked at.
    if (lookups < kManyLookups || files.list(folder, listing) || !listing.failed.empty())
        return;
    judge_ = std::exchange(files_, nullptr);
    entries_ = std::move(listing.entries);
    std::sort(entries_.begin(), entries_.end(), by_name);
    std::ranges::transform(entries_, std::back_inserter(forms_),
                           [](const Entry& present) { return form_of(present.name); });
    std::ranges::sort(forms_);
}

Error FolderLookup::find(const std::string& folder, const std::string& name, Entry& entry) const {
    if (files_ != nullptr)
        return files_->stat(join_path(folder, name), entry);
    const auto found = std::lower_bound(
        entries_.begin(), entries_.end(), name,
        [](const Entry& candidate, const std::string& wanted) { return candidate.name < wanted; });
    if (found == entries_.end() || found->name != name) {
        // Only the tree knows whether such a name is another one.
        const bool similar = std::ranges::binary_search(forms_, form_of(name));
        return similar ? judge_->stat(join_path(folder, name), entry) : Error(ENOENT);
    }
    entry = *found;
    return {};
}

bool FolderLookup::holds_only(const std::vector<Entry>& entries) const {
    std::set<std::string_view> names;
    for (const Entry& entry : entries)
        names.insert(entry.name);
    return files_ == nullptr &&
           std::ranges::all_of(entries_, [&](const Entry& held) { return names.contains(held.name); });
}

}  // namespace relay_hub::engine
