#pragma once
// Answers of one field or two, and texts as they may stand in any.
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace relay_hub::engine {

// Tags and their texts; one without a text is left out of a message.
using Fields = std::initializer_list<std::pair<const char*, std::string_view>>;
std::string message_text(Fields fields);
// "T1" success; failure with its reason in "T2".
std::string success_text();
std::string failure_text(std::string_view reason);
// The one or the other, and a letter for each item of the move: whether it arrived whole.
std::string result_of_move(const std::optional<std::string>& failure, const std::string& arrived);

// The text as valid UTF-8 without control characters (a line end stays), cut at a character so that it has
// at most limit bytes.
std::string presentable(std::string_view text, std::size_t limit);
// The same without line ends: names, and what goes into a log.
std::string in_one_line(std::string_view text, std::size_t limit = 1000);

}  // namespace relay_hub::engine
