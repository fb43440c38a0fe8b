#pragma once
// How a field's text stands in a message: "&amp;", "&lt;", "&gt;", and "&dq;" for a double quote. Pure, any
// thread.
#include <string>
#include <string_view>

namespace relay_hub {

void append_escaped(std::string& message, std::string_view text);
std::string unescaped(std::string_view text);

}  // namespace relay_hub
