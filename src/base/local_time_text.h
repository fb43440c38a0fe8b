#pragma once
// A time in the user's time zone. Any thread.
#include <ctime>
#include <string>

namespace relay_hub {

// As strftime has it; empty for a time that no calendar reaches.
std::string local_time_text(std::time_t time, const char* format);

}  // namespace relay_hub
