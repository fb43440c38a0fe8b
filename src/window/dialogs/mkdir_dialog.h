#pragma once
// The new-folder dialog, used in the order create, init, show, destroy, get_folder_name. Window's thread.
#include "window/dialogs/dialog_parts.h"

using _mkdir_dialog = relay_hub::NamePrompt;

_mkdir_dialog* create_mkdir_dialog();
void init_mkdir_dialog(_mkdir_dialog* record);
// Modal; returns once the user chose.
void show_mkdir_dialog(_mkdir_dialog* record);
void destroy_mkdir_dialog(_mkdir_dialog* record);
// The entered name; empty when cancelled or closed. Borrowed until the next dialog.
const char* get_folder_name();

namespace relay_hub {

// All of that. The entered name.
std::string ask_folder_name();

}  // namespace relay_hub
