#include "engine/wire_text.h"

#include <algorithm>

#include "link_engine/message_names.h"
#include "xml_doc/message_writer.h"

#include "base/glib_owners.h"

namespace relay_hub::engine {
namespace {

constexpr std::size_t kLongestReason = 1000;

}  // namespace

std::string message_text(Fields fields) {
    MessageWriter message;
    for (const auto& [tag, text] : fields)
        message.add(tag, text);
    return message.finish();
}

std::string success_text() {
    return message_text({{wire::kResult, wire::kSuccess}});
}

std::string failure_text(std::string_view reason) {
    return message_text({{wire::kResult, wire::kFail}, {wire::kReason, presentable(reason, kLongestReason)}});
}

std::string result_of_move(const std::optional<std::string>& failure, const std::string& arrived) {
    if (!failure)
        return message_text({{wire::kResult, wire::kSuccess}, {wire::kMoveArrived, arrived}});
    return message_text({{wire::kResult, wire::kFail},
                         {wire::kReason, presentable(*failure, kLongestReason)},
                         {wire::kMoveArrived, arrived}});
}

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

}  // namespace relay_hub::engine
