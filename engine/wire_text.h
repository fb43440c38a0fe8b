#pragma once
// Answers of one field or two.
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

}  // namespace relay_hub::engine
