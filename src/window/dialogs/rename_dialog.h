#pragma once
// The rename dialog, used in the order create, set_rename_dialog_oldname, init, show,
// get_rename_dialog_new_name, destroy. Names are the file system's bytes. Window's thread.
#include <gtk/gtk.h>

#include <string>

#include "window/dialogs/dialog_parts.h"

using _rename_dialog = relay_hub::NamePrompt;

_rename_dialog* create_rename_dialog();
// Sets each text that is given (null leaves it), the side and the pane's list.
void set_rename_dialog_oldname(const char* old_name, const char* new_name, const char* base_path,
                               int is_remote, GtkWidget* tree_view);
void set_rename_dialog_old_name(const char* path, GtkWidget* tree_view);
void init_rename_dialog(_rename_dialog* record);
void show_rename_dialog(_rename_dialog* record);
// The new name; empty when cancelled or closed.
void get_rename_dialog_new_name(std::string& out);
void destroy_rename_dialog(_rename_dialog* record);

namespace relay_hub {

// All of that for an entry of the folder that the list shows, where no other may have the new name. The new
// name.
std::string ask_new_name(const std::string& old_name, const std::string& folder, bool is_remote,
                         GtkWidget* list);

}  // namespace relay_hub
