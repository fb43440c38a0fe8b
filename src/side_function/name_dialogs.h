#pragma once
// Asking the user for a name. Window's thread; each returns once the user chose, with an empty text when he
// cancelled.
#include <string>

#include "window/ui_sets.h"

namespace relay_hub {

std::string ask_folder_name();
// The new name of the side's entry in folder; the dialog refuses names that are taken there.
std::string ask_new_name(const __single* side, const std::string& old_name, const std::string& folder);

}  // namespace relay_hub
