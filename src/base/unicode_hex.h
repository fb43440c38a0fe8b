#pragma once
// The form in which names travel on the pipes: four upper-case hexadecimal digits a unit, low byte first, so
// that "C:\a" is 43003A005C006100. The window writes one unit a character and loses bits of what does not fit
// into 16; UTF-16 keeps them. Pure, any thread.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace relay_hub {

inline constexpr std::size_t kUnicodeHexDigits = 4;

// The unit of one character as the window writes it: kUnicodeHexDigits bytes, no zero behind them.
void write_character_hex(std::uint32_t character, char* out);
// A whole UTF-8 text so. Nothing when it is not valid UTF-8.
std::optional<std::string> character_hex(std::string_view text);

// A UTF-8 text in UTF-16 units. Empty when it is not valid UTF-8.
std::string utf16_hex(std::string_view text);
// Back to UTF-8. Nothing for a text whose length is no multiple of four, with other characters than hex
// digits, with a U+0000 or with half a surrogate pair; nothing, too, for an empty text.
std::optional<std::string> text_from_utf16_hex(std::string_view hex);

}  // namespace relay_hub
