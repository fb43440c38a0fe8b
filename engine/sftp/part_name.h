#pragma once
// The names of files that are being written on the other computer:
// ".relay-hub-HOST-PROCESS-TIME-NUMBER.part". They say by themselves whose they are, since no lock can be
// held there. Any thread.
#include <ctime>
#include <string>
#include <string_view>

namespace relay_hub::engine::sftp {

// A name that nobody else uses.
std::string new_part_name();
bool is_part_name(std::string_view name);
// Whether what wrote it is no longer there: on this computer the process, on another one after a week.
bool is_left_over(std::string_view name, std::time_t now);

}  // namespace relay_hub::engine::sftp
