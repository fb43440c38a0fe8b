#include "engine/file_list.h"

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

#include "base/name_order.h"
#include "base/size_text.h"
#include "base/translated_text.h"
#include "base/unicode_hex.h"
#include "link_engine/message_names.h"
#include "xml_doc/message_writer.h"

namespace relay_hub::engine {
namespace {

constexpr char kFile[] = "0";
constexpr char kFolder[] = "1";
// Room for what ends the message.
constexpr std::size_t kTail = 64;

bool is_left_out(const std::string& name, HiddenFiles hidden) {
    return name.empty() || (hidden == HiddenFiles::kLeftOut && name.front() == '.');
}

using KeyedEntry = std::pair<std::string, const Entry*>;

std::vector<KeyedEntry> in_natural_order(const std::vector<Entry>& entries, Style style, HiddenFiles hidden,
                                         FailureList& missing) {
    std::vector<KeyedEntry> ordered;
    ordered.reserve(entries.size());
    for (const Entry& entry : entries) {
        if (is_left_out(entry.name, hidden))
            continue;
        if (!can_travel(style, entry.name)) {
            missing.add(entry.name, translated("IDS_REASON_NAME_CANNOT_TRAVEL"));
            continue;
        }
        append_name_sort_key(entry.name.c_str(), ordered.emplace_back("", &entry).first);
    }
    std::sort(ordered.begin(), ordered.end(), [](const KeyedEntry& a, const KeyedEntry& b) {
        return std::tie(a.first, a.second->name) < std::tie(b.first, b.second->name);
    });
    return ordered;
}

void add_time(MessageWriter& text, const char* tag, const timespec& time) {
    text.add(tag, std::to_string(time.tv_sec));
}

void add_entry(MessageWriter& text, const Entry& entry, bool with_hex) {
    text.begin_record();
    text.add(wire::kDisplayName, entry.name);
    if (with_hex)
        text.add(wire::kNameHex, utf16_hex(entry.name));
    // A folder's own size says nothing of what it holds.
    text.add(wire::kEntrySize, entry.opens_as_folder ? 0 : entry.size);
    if (!entry.opens_as_folder)
        text.add(wire::kEntrySizeText, size_text(entry.size));
    add_time(text, wire::kEntryCreated, entry.created);
    add_time(text, wire::kEntryAccessed, entry.accessed);
    add_time(text, wire::kEntryModified, entry.modified);
    text.add(wire::kEntryKind, entry.opens_as_folder ? kFolder : kFile);
    text.end_record();
}

// How many entries fit.
std::size_t add_entries(MessageWriter& text, const std::vector<KeyedEntry>& entries, bool with_hex,
                        std::size_t longest) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::size_t mark = text.size();
        add_entry(text, *entries[i].second, with_hex);
        if (text.size() + kTail > longest) {
            text.cut_back(mark);
            return i;
        }
    }
    return entries.size();
}

}  // namespace

FileList file_list(const Listing& listing, Style style, HiddenFiles hidden, std::optional<std::uint64_t> free,
                   std::size_t longest) {
    FileList list;
    for (const FailedLook& failed : listing.failed) {
        if (!is_left_out(failed.name, hidden))
            list.missing.add(failed.name, reason_text(failed.error));
    }
    const std::vector<KeyedEntry> ordered = in_natural_order(listing.entries, style, hidden, list.missing);
    MessageWriter text;
    text.add(wire::kResult, wire::kSuccess);
    if (free)
        text.add(wire::kFreeSpace, *free);
    const std::size_t start = text.size();
    list.shown = ordered.size();
    list.sent = add_entries(text, ordered, true, longest);
    if (list.sent < list.shown) {
        text.cut_back(start);
        list.sent = add_entries(text, ordered, false, longest);
    }
    list.text = text.finish();
    return list;
}

}  // namespace relay_hub::engine
