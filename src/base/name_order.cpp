#include "base/name_order.h"

#include <glib.h>

#include <cstring>

#include "base/glib_owners.h"

namespace relay_hub {
namespace {

// Stands before whatever a locale makes of text.
constexpr char kBreak[] = "\1\1\1";
// A key ends with a byte for each number's zeros: of longer names these would not fit.
constexpr std::size_t kLongestPlainName = 255;

bool has_byte_order() {
    static const bool has = std::strcoll("a", "B") > 0;
    return has;
}

// Whether the locale's key of an ASCII text is that text.
bool keeps_ascii() {
    static const bool keeps = [] {
        std::string all;
        for (char c = 1; c > 0 && c < 127; ++c)
            all += c;
        return all == GText(g_utf8_collate_key(all.c_str(), -1)).get();
    }();
    return keeps;
}

// A number's first byte. Longer numbers come later: each digit but the first puts a colon in front.
const char* append_number(const char* number, std::string& key, std::string& zeros) {
    const char* const first = number + std::strspn(number, "0");
    const char* const end = first + std::strspn(first, "0123456789");
    // As GLib has it, zeros alone are a zero behind one fewer, but nothing at the end of a name.
    const bool is_zero = first == end && *end != '\0';
    const auto leading = first - number - (is_zero ? 1 : 0);
    (key += kBreak) += '\2';
    if (end - first > 1)
        key.append(static_cast<std::size_t>(end - first - 1), ':');
    if (leading > 0)
        zeros += static_cast<char>(leading);
    key.append(number + leading, end);
    return end;
}

// The same key that GLib would make, without its ten allocations for each name. False, and nothing appended,
// for a long name or one that is not ASCII.
bool append_plain_key(const char* name, std::string& key) {
    if (std::strlen(name) > kLongestPlainName)
        return false;
    const std::size_t before = key.size();
    std::string zeros;
    for (const char* at = name; *at != '\0';) {
        if (g_ascii_isdigit(*at)) {
            at = append_number(at, key, zeros);
            continue;
        }
        if (static_cast<unsigned char>(*at) >= 0x80) {
            key.resize(before);
            return false;
        }
        if (*at == '.')
            (key += kBreak) += '\1';
        else
            key += g_ascii_tolower(*at);
        ++at;
    }
    key += zeros;
    return true;
}

}  // namespace

void append_name_sort_key(const char* name, std::string& keys) {
    if (!has_byte_order()) {
        keys += GText(g_utf8_collate_key_for_filename(name, -1)).get();
    } else if (!keeps_ascii() || !append_plain_key(name, keys)) {
        const GText folded(g_utf8_casefold(name, -1));
        keys += GText(g_utf8_collate_key_for_filename(folded.get(), -1)).get();
    }
}

}  // namespace relay_hub
