#include "engine/wire_text.h"

#include "base/plain_text.h"
#include "link_engine/message_names.h"
#include "xml_doc/message_writer.h"

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

}  // namespace relay_hub::engine
