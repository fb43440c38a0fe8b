#include "xml_op/answer_text.h"

namespace relay_hub {
namespace {

using Byte = unsigned char;

constexpr std::string_view kWireQuote = "&dq;";
constexpr std::string_view kXmlQuote = "&quot;";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool tail_at(std::string_view text, std::size_t at) {
    return at < text.size() && (static_cast<Byte>(text[at]) & 0xC0U) == 0x80U;
}

// Length of the character at text[at] that XML takes as it is, 0 for a byte that it does not.
std::size_t character_length(std::string_view text, std::size_t at) {
    const auto lead = static_cast<Byte>(text[at]);
    if (lead < 0x80U)
        return lead >= 0x20U || lead == '\t' || lead == '\n' || lead == '\r' ? 1 : 0;
    if (lead < 0xC2U || lead > 0xF4U || !tail_at(text, at + 1))
        return 0;
    const auto second = static_cast<Byte>(text[at + 1]);
    if (lead < 0xE0U)
        return 2;
    if (!tail_at(text, at + 2))
        return 0;
    if (lead < 0xF0U) {
        const bool too_long = lead == 0xE0U && second < 0xA0U;
        const bool surrogate = lead == 0xEDU && second > 0x9FU;
        const bool no_character = lead == 0xEFU && second == 0xBFU && static_cast<Byte>(text[at + 2]) > 0xBDU;
        return too_long || surrogate || no_character ? 0 : 3;
    }
    const bool too_long = lead == 0xF0U && second < 0x90U;
    const bool too_high = lead == 0xF4U && second > 0x8FU;
    return too_long || too_high || !tail_at(text, at + 3) ? 0 : 4;
}

}  // namespace

std::string_view readable_answer(std::string_view answer, std::string& storage) {
    storage.clear();
    std::size_t copied = 0;
    const auto replace = [&](std::size_t at, std::size_t length, std::string_view with) {
        if (storage.empty())
            storage.reserve(answer.size() + answer.size() / 16 + kXmlQuote.size());
        storage.append(answer, copied, at - copied).append(with);
        copied = at + length;
    };
    std::size_t at = 0;
    while (at < answer.size()) {
        std::size_t length = character_length(answer, at);
        if (length == 0) {
            length = 1;
            replace(at, length, kReplacement);
        } else if (answer[at] == '&' && answer.substr(at, kWireQuote.size()) == kWireQuote) {
            length = kWireQuote.size();
            replace(at, length, kXmlQuote);
        }
        at += length;
    }
    if (copied == 0)
        return answer;
    return storage.append(answer, copied);
}

}  // namespace relay_hub
