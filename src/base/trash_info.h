#pragma once
// How items of the freedesktop.org trash are named and noted, whichever kind of computer holds it. Pure, but
// for the time.
#include <string>

namespace relay_hub {

inline constexpr char kTrashInfoSuffix[] = ".trashinfo";

// The content of the info file of an item that stood at path and goes to the trash now.
std::string trash_info(const std::string& path);
// What the item is to be called there at the first, second, … attempt: "name", "name.2", …
std::string numbered_name(const std::string& name, int attempt);

}  // namespace relay_hub
