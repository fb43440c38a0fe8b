#include "engine/wire_text.h"

#include <glib.h>

#include <algorithm>
#include <memory>

#include "link_engine/message_names.h"
#include "xml_doc/message_writer.h"

namespace relay_hub::engine {
std::string success_text() {
    MessageWriter answer;
    answer.add(wire::kResult, wire::kSuccess);
    return answer.finish();
}

std::string failure_text(std::string_view reason) {
    MessageWriter answer;
    answer.add(wire::kResult, wire::kFail);
    answer.add(wire::kReason, presentable(reason, 1000));
    return answer.finish();
}

std::string presentable(std::string_view text, std::size_t limit) {
    const std::unique_ptr<char, decltype(&g_free)> valid(
        g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), g_free);
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

}  // namespace relay_hub::engine
