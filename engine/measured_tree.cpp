#include "engine/measured_tree.h"

#include <algorithm>
#include <utility>

namespace relay_hub::engine {
namespace {

constexpr std::size_t kMostKeptBytes = 24UL * 1024 * 1024;

std::size_t memory_of(const Listing& listing) {
    std::size_t bytes = listing.entries.capacity() * sizeof(Entry) + sizeof(Listing);
    for (const Entry& entry : listing.entries) {
        if (entry.name.capacity() > std::string().capacity())
            bytes += entry.name.capacity() + sizeof(std::size_t);
    }
    return bytes;
}

}  // namespace

// A folder that the walk is in.
struct MeasuredTree::Level {
    std::size_t number = 0;
    std::size_t path_length = 0;       // of the folder above
    std::vector<std::string> folders;  // in it, last one first
};

void MeasuredTree::open(const std::string& path, Level& level, const Visit& visit) {
    level.number = folders_++;
    Kept folder;
    folder.error = files_.list(path, folder.listing);
    for (const Entry& entry : folder.listing.entries) {
        if (!visit(entry))
            break;
        if (entry.kind == EntryKind::kFolder)
            level.folders.push_back(entry.name);
    }
    std::reverse(level.folders.begin(), level.folders.end());
    kept_bytes_ += full_ ? 0 : memory_of(folder.listing);
    full_ = full_ || kept_bytes_ > kMostKeptBytes;
    if (!full_)
        kept_.push_back(std::move(folder));
}

void MeasuredTree::add(const std::string& path, const Entry& entry, const Visit& visit) {
    bool goes_on = visit(entry);
    if (!goes_on || entry.kind != EntryKind::kFolder)
        return;
    const Visit watched = [&](const Entry& child) { return goes_on = goes_on && visit(child); };
    std::string current = path;
    std::vector<Level> levels(1);
    open(current, levels.back(), watched);
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.folders.empty() || !goes_on) {
            if (level.number < kept_.size())
                kept_[level.number].end = folders_;
            current.resize(level.path_length);
            levels.pop_back();
            continue;
        }
        Level below;
        below.path_length = current.size();
        current.append("/").append(level.folders.back());
        level.folders.pop_back();
        open(current, below, watched);
        levels.push_back(std::move(below));
    }
}

Error MeasuredTree::enter(const std::string& folder, Listing& listing) {
    const std::size_t number = next_++;
    if (number >= kept_.size())
        return files_.list(folder, listing);
    listing = std::exchange(kept_[number].listing, {});
    return kept_[number].error;
}

const Listing* MeasuredTree::peek() const {
    return next_ < kept_.size() ? &kept_[next_].listing : nullptr;
}

void MeasuredTree::skip() {
    next_ = next_ < kept_.size() ? kept_[next_].end : next_ + 1;
}

}  // namespace relay_hub::engine
