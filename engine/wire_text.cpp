#include "engine/wire_text.h"

#include <glib.h>

#include <algorithm>
#include <memory>

#include "base/message_escape.h"
#include "link_engine/message_names.h"

namespace relay_hub::engine {
namespace {

void append_tag(std::string& text, std::string_view open, std::string_view tag) {
    text.append(open).append(tag).push_back('>');
}

}  // namespace

WireText::WireText() {
    append_tag(text_, "<", wire::kRoot);
}

void WireText::add(std::string_view tag, std::string_view value) {
    if (value.empty())
        return;
    append_tag(text_, "<", tag);
    append_escaped(text_, value);
    append_tag(text_, "</", tag);
}

void WireText::add(std::string_view tag, std::uint64_t value) {
    add(tag, std::to_string(value));
}

void WireText::begin_record() {
    append_tag(text_, "<", wire::kRecord);
}

void WireText::end_record() {
    append_tag(text_, "</", wire::kRecord);
}

std::string WireText::finish() {
    append_tag(text_, "</", wire::kRoot);
    return std::move(text_);
}

std::string success_text() {
    WireText answer;
    answer.add(wire::kResult, wire::kSuccess);
    return answer.finish();
}

std::string failure_text(std::string_view reason) {
    WireText answer;
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
