#include "base/plain_text.h"

#include <algorithm>

#include "base/glib_owners.h"

namespace relay_hub {

std::string presentable(std::string_view text, std::size_t limit) {
    const GText valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    std::string result = valid.get();
    for (char& c : result) {
        if ((static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7f)
            c = '?';
    }
    if (result.size() > limit) {
        const char* cut = g_utf8_find_prev_char(result.c_str(), result.c_str() + limit - 2);
        result.resize(static_cast<std::size_t>(cut - result.c_str()));
        result += "...";
    }
    return result;
}

std::string in_one_line(std::string_view text, std::size_t limit) {
    std::string line = presentable(text, limit);
    std::replace(line.begin(), line.end(), '\n', '?');
    return line;
}

std::string_view without_full_stop(std::string_view text) {
    for (const std::string_view stop : {".", "。"}) {
        if (text.ends_with(stop))
            text.remove_suffix(stop.size());
    }
    return text;
}

}  // namespace relay_hub
