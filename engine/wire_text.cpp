#include "engine/wire_text.h"

#include <algorithm>

#include "link_engine/message_names.h"
#include "xml_doc/message_writer.h"

#include "base/glib_owners.h"

namespace relay_hub::engine {
namespace {

void add_result(MessageWriter& answer, const std::optional<std::string_view>& failure) {
    answer.add(wire::kResult, failure ? wire::kFail : wire::kSuccess);
    if (failure)
        answer.add(wire::kReason, presentable(*failure, 1000));
}

std::string result_text(const std::optional<std::string_view>& failure) {
    MessageWriter answer;
    add_result(answer, failure);
    return answer.finish();
}

}  // namespace

std::string success_text() {
    return result_text(std::nullopt);
}

std::string failure_text(std::string_view reason) {
    return result_text(reason);
}

std::string result_of_move(const std::optional<std::string>& failure, const std::string& arrived) {
    MessageWriter answer;
    add_result(answer, failure);
    answer.add(wire::kMoveArrived, arrived);
    return answer.finish();
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
