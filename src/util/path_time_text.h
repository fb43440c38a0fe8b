#pragma once
// Path normalisation, times, sizes for display, and the unicode-hex form in which names travel. Pure, but
// for the path stack, which belongs to the window's thread.
#include <cstdint>
#include <ctime>
#include <string>

// Windows FILETIME: 100-nanosecond intervals since 1601-01-01, low half first.
struct _filetime {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
};

// The path stack, bottom first; gTopOfStack is the index of its top entry, -1 when it is empty. Its entries
// hold components of any length. InitPathStack is also how a test starts afresh.
inline constexpr int kPathStackEntries = 128;
extern std::string gPathStack[kPathStackEntries];
extern int gTopOfStack;

void InitPathStack();
// The new top index, or -1 (stack unchanged) when the stack is full or component is null.
int PushOfStack(const char* component);
// The index of the entry just cleared, or -1 when the stack was empty.
int PopOfStack();
// Pushes the parts of path between delimiter bytes; "." is skipped, ".." pops. The result of the last push
// or pop, 0 for a path without parts, -1 for a null path.
int ParserPathToStack(const char* path, const char* delimiters);
// Appends every stacked entry, each followed by separator, to dst. 0.
int SolveRealPath(std::string& dst, const char* separator);
// Resets the stack, resolves "." and ".." in path, appends the result to dst (not cleared). 0.
int ConvertToRealPath(const char* path, const char* delimiters, std::string& dst, const char* separator);

// 1 for a drive-letter path, 2 for a null or empty one, else 0.
int check_path_for_platform(const char* path);
// 0 if the path is a root, else 1.
int check_root_path(const char* path);
// 0 when the extended expression matches somewhere in text, else -1 (also for a bad pattern). Prints either.
int regular_expression(const char* text, const char* pattern);

// Seconds since 1970; a time before that wraps. -1 for a null pointer, else 0.
int ms_filetime_to_timet(const _filetime* filetime, std::time_t* seconds);
// Stores the decimal number of text into raw and, unchanged, into filetime. -1, with filetime untouched, for
// a null text or filetime and for the number 34.
int seconds_convert_to_ms_filetime(const char* text, _filetime* filetime, std::uint64_t* raw);
// The sum of the value's two halves, cut to 32 bits.
std::int32_t convert_to_timet_for_link_engine(std::uint64_t value);

// "1.5 KB" and the like; newly allocated with malloc, the caller frees it.
char* get_format_size_for_display(std::uint64_t bytes);

// Text of the locale's encoding to four hexadecimal digits a character, low byte first. wide_buffer holds
// strlen(text) characters and is zeroed by the caller, hex_out four bytes a character and a final zero;
// count_out gets the number of characters, or -1 when the text does not convert (told on standard output).
// 0, or -1 for a null wide_buffer or hex_out; hex_out stays untouched when there is no character. A null
// text converts what wide_buffer and count_out already hold.
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
// get_format_size_for_display as a string.
std::string size_for_display(std::uint64_t bytes);
// folder and name with exactly one separator between them: a backslash for a drive-letter folder, else "/".
std::string join_remote_path(const std::string& folder, const std::string& name);
// folder and name with exactly one "/" between them.
std::string join_local_path(const std::string& folder, const std::string& name);

}  // namespace relay_hub
