#include "base/shown_text.h"

#include <glib.h>

#include <algorithm>
#include <limits>

#include "base/glib_owners.h"

namespace relay_hub {
namespace {

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kLongestCharacter = 4;  // bytes
constexpr char kCut[] = "…";

bool is_direction_mark(gunichar character) {
    return (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

bool changes_the_rest(gunichar character) {
    return g_unichar_iscntrl(character) != FALSE || character == 0x2028 || character == 0x2029 ||
           is_direction_mark(character);
}

bool is_plain_ascii(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte >= ' ' && byte < '\x7F'; });
}

std::string valid_text(std::string_view bytes) {
    std::string text(bytes);
    if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) == FALSE)
        text = GText(g_filename_display_name(text.c_str())).get();
    return text;
}

void append_escape(std::string& text, gunichar character) {
    char escape[16];
    (void)g_snprintf(escape, sizeof escape, "\\u%04X", character);
    text += escape;
}

struct Limits {
    std::size_t characters = kNoLimit;
    std::size_t lines = 0;  // 0: one line, whose breaks are escaped
};

std::string shown(std::string_view bytes, const Limits& limits) {
    // What stands far behind the cut need not be read.
    if (limits.characters < bytes.size() / kLongestCharacter)
        bytes = bytes.substr(0, (limits.characters + 1) * kLongestCharacter);
    if (is_plain_ascii(bytes) && bytes.size() <= limits.characters)
        return std::string(bytes);
    const std::string valid = valid_text(bytes);
    std::string text;
    std::size_t characters = 0;
    std::size_t lines = 1;
    for (const char* at = valid.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
        const gunichar character = g_utf8_get_char(at);
        const bool is_break = limits.lines > 0 && character == '\n';
        if (++characters > limits.characters || (is_break && ++lines > limits.lines && at[1] != '\0'))
            return text + kCut;
        if (limits.lines > 0 && character == '\r' && at[1] == '\n')
            continue;
        if (is_break || (limits.lines > 0 && character == '\t') || !changes_the_rest(character))
            text.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
        else
            append_escape(text, character);
    }
    return text;
}

}  // namespace

std::string shown_text(std::string_view bytes) {
    return shown(bytes, {});
}

std::string shown_line(std::string_view bytes, std::size_t characters) {
    return shown(bytes, {characters});
}

std::string shown_message(std::string_view bytes) {
    return shown(bytes, {kMessageCharacters, kMessageLines});
}

}  // namespace relay_hub
