#pragma once
// Makes an answer readable for libxml2, whose parser gives up the whole text at the first odd byte. Pure.
#include <string>
#include <string_view>

namespace relay_hub {

// The text with "&dq;" as "&quot;", and with every byte that is no valid UTF-8 and every character that XML
// does not allow as U+FFFD. An answer that needs nothing is returned as it is; otherwise the result lies in
// storage, which must outlive it.
std::string_view readable_answer(std::string_view answer, std::string& storage);

}  // namespace relay_hub
