#pragma once
// When several people use one machine: the pipes have fixed names, so that the first one's are in the way of
// the second one's. Any thread.
#include <string>

namespace relay_hub {

// What to tell the user when a FIFO of the channel belongs to another user than this one and root: whose it
// is and what to do. Empty when none does. base: the channel's base path.
std::string taken_place(const std::string& base);

}  // namespace relay_hub
