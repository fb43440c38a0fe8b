// Numbers as text with "." for the decimal point, whatever locale the window runs in. Any thread.
#pragma once

#include <string>

namespace relay_hub {

// printf of any length.
std::string print_number(const char* format, ...) __attribute__((format(printf, 1, 2)));
// As strtod.
double read_number(const char* text);

}  // namespace relay_hub
