#pragma once
// Asking the user for a name. Window's thread; each returns once the user chose, with an empty text when he
// cancelled.
#include <string>

#include "side_function/pane.h"

namespace relay_hub {

std::string ask_folder_name();
// The new name of the pane's entry; the dialog refuses names that are taken in its folder.
std::string ask_new_name(const Pane& pane, const std::string& old_name);

}  // namespace relay_hub
