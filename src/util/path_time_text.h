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

void InitPathStack();
int PushOfStack(const char* component);
int PopOfStack();
int ParserPathToStack(const char* path, const char* delimiters);
// Appends every stacked entry, each followed by separator, to dst. 0.
int SolveRealPath(std::string& dst, const char* separator);
// Resets the stack, resolves "." and ".." in path, appends the result to dst (not cleared). 0.
int ConvertToRealPath(const char* path, const char* delimiters, std::string& dst, const char* separator);

// 1 for a drive-letter path, 2 for a null or empty one, else 0.
int check_path_for_platform(const char* path);
// 0 if the path is a root, else 1.
int check_root_path(const char* path);
int regular_expression(const char* text, const char* pattern);

int ms_filetime_to_timet(const _filetime* filetime, std::time_t* seconds);
int seconds_convert_to_ms_filetime(const char* text, _filetime* filetime, std::uint64_t* raw);
std::int32_t convert_to_timet_for_link_engine(std::uint64_t value);

// "1.5 KB" and the like; newly allocated with malloc, the caller frees it.
char* get_format_size_for_display(std::uint64_t bytes);

int ansi_to_unicode_hex(const char* text, wchar_t* wide_buffer, long* count_out, char* hex_out);
int ansi_string_to_unicode_hex(const char* text, wchar_t* wide_buffer, long* count_out);
int unicode_hex_to_unicode_hex_string(const std::uint32_t* values, int count, char* hex_out);
int unicode_hex_string_to_ansi_string(const char* hex_in, char* text_out);
int HexStr2Binary(const char* hex, unsigned char* out, int size);
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
