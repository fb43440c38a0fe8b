#pragma once
// Foreign texts as they may stand in a message or a log. Any thread.
#include <string>
#include <string_view>

namespace relay_hub {

// The text as valid UTF-8 without control characters (a line end stays), cut at a character so that it has
// at most limit bytes.
std::string presentable(std::string_view text, std::size_t limit);
// The same without line ends: names, and what goes into a log.
std::string in_one_line(std::string_view text, std::size_t limit = 1000);
// Without the full stop at its end: some engines give whole sentences as reasons.
std::string_view without_full_stop(std::string_view text);

}  // namespace relay_hub
