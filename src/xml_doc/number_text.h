// Numbers as text with "." for the decimal point, whatever locale the window runs in. Any thread.
#pragma once

#include <cstdarg>
#include <string>

namespace relay_hub {

// vprintf of any length, in the locale of the thread; a failure gives an empty text.
std::string print_text(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));
// printf of any length.
std::string print_number(const char* format, ...) __attribute__((format(printf, 1, 2)));
// As strtod.
double read_number(const char* text);

}  // namespace relay_hub
