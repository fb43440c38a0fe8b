#include "engine/arrivals.h"

#include "engine/folder_lookup.h"
#include "engine/measured_tree.h"
#include "engine/names.h"

namespace relay_hub::engine {
namespace {

void mix(std::uint64_t& sum, std::uint64_t value) {
    constexpr std::uint64_t kPrime = 0x100000001b3;
    sum = (sum ^ value) * kPrime;
}

std::uint64_t look_of(const Entry& entry, bool is_item) {
    // An item may have been looked up without its name; it is known by its path.
    std::uint64_t sum = is_item ? 0 : std::hash<std::string>()(entry.name);
    mix(sum, static_cast<std::uint64_t>(entry.kind));
    mix(sum, entry.kind == EntryKind::kFolder ? 0 : entry.size);
    mix(sum, static_cast<std::uint64_t>(entry.modified.tv_sec));
    mix(sum, static_cast<std::uint64_t>(entry.modified.tv_nsec));
    mix(sum, entry.identity.inode);
    return sum;
}

}  // namespace

void Arrivals::begin(const std::string& path) {
    items_.push_back({path});
}

void Arrivals::see(const Entry& entry) {
    Item& item = items_.back();
    item.look += look_of(entry, !item.seen);  // a folder may tell its entries in another order
    item.seen = true;
}

bool Arrivals::in_doubt(const std::string& path) const {
    const std::string below = path + "/";
    const auto first = doubtful_.lower_bound(below);
    return all_in_doubt_ || doubtful_.contains(path) ||
           (first != doubtful_.end() && first->starts_with(below));
}

bool Arrivals::looks_the_same(const Item& item, const Entry& entry, const std::function<bool()>& goes_on) {
    std::uint64_t look = 0;
    bool is_item = true;
    bool ended = false;
    MeasuredTree(source_).add(item.path, entry, [&](const Entry& found) {
        look += look_of(found, is_item);
        is_item = false;
        ended = !goes_on();
        return !ended;
    });
    return !ended && look == item.look;
}

std::vector<bool> Arrivals::judge(const std::function<bool()>& goes_on) {
    std::vector<bool> arrived;
    arrived.reserve(items_.size());
    FolderLookup lookup;
    std::string folder;
    for (const Item& item : items_) {
        if (arrived.empty() || folder != parent_path(item.path)) {
            folder = parent_path(item.path);
            lookup = FolderLookup(source_, folder, items_.size());
        }
        Entry entry;
        arrived.push_back(item.seen && item.went_through && !in_doubt(item.path) &&
                          !lookup.find(folder, base_name(item.path), entry) &&
                          looks_the_same(item, entry, goes_on));
    }
    if (!goes_on())
        arrived.assign(items_.size(), false);
    return arrived;
}

}  // namespace relay_hub::engine
