#pragma once
// Text of the locale's encoding in the unicode-hex form (base/unicode_hex.h) and back. Any thread.
#include <cstdint>
#include <string>

// Text of the locale's encoding to four hexadecimal digits a character, low byte first. wide_buffer holds
// strlen(text) characters and is zeroed by the caller, hex_out four bytes a character and a final zero;
// count_out gets the number of characters, or -1 when the text does not convert (reported on standard
// output). 0, or -1 for a null wide_buffer or hex_out; without a wide_buffer the characters are counted all
// the same, so that the caller knows what room they need. hex_out stays untouched when there is no character.
// A null text converts what wide_buffer and count_out already hold.
int ansi_to_unicode_hex(const char* text, wchar_t* wide_buffer, long* count_out, char* hex_out);
// The first half of it: text to wide_buffer. 0, or -1 for a null text or wide_buffer.
int ansi_string_to_unicode_hex(const char* text, wchar_t* wide_buffer, long* count_out);
// The second half of it, on count values. 0.
int unicode_hex_to_unicode_hex_string(const std::uint32_t* values, int count, char* hex_out);
// Back to text of the locale's encoding; a unit that it cannot hold is left out. text_out has room for the
// whole text: four digits become at most MB_CUR_MAX bytes. 0, or -1 for a null pointer.
int unicode_hex_string_to_ansi_string(const char* hex_in, char* text_out);
// Hexadecimal digits to bytes, at most size - 1 of them; a pair that is no number counts as 0. Returns how
// many of these size - 1 stayed unused; for a size of 0 half the text's length, and nothing is written.
int HexStr2Binary(const char* hex, unsigned char* out, int size);
// The same into wide_out taken as bytes; size counts bytes.
int HexStr2UnicodeStr(const char* hex, wchar_t* wide_out, int size);

namespace relay_hub {

// ansi_to_unicode_hex on strings. Empty, after the line on standard output, when text does not convert.
std::string unicode_hex(const std::string& text);
// unicode_hex_string_to_ansi_string on strings.
std::string text_from_unicode_hex(const std::string& hex);

}  // namespace relay_hub
