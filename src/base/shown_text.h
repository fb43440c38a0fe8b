#pragma once
// Foreign bytes (names, an engine's words) as the window may show them: valid UTF-8 in which nothing changes
// how the rest looks. Control characters, line separators and the marks that turn the writing direction round
// become visible escapes such as "\u202E". Any thread.
#include <cstddef>
#include <string>
#include <string_view>

namespace relay_hub {

inline constexpr std::size_t kCellCharacters = 500;
inline constexpr std::size_t kMessageCharacters = 2000;
inline constexpr std::size_t kMessageLines = 20;

// One line, such as a name. Bytes that are not UTF-8 show as g_filename_display_name has them.
std::string shown_text(std::string_view bytes);
// The same, cut after that many characters of bytes with "…". Costs no more than what it gives.
std::string shown_line(std::string_view bytes, std::size_t characters);
// A text for a box, whose line breaks and tabs stay; cut at kMessageCharacters and kMessageLines with "…".
std::string shown_message(std::string_view bytes);

}  // namespace relay_hub
