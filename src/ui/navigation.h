#pragma once
// Going places in a pane: rows, typed paths, drives, the parent folder. Each runs its work to the end while
// the main loop turns. Callers hold a WindowWork. Window's thread, GDK lock held.
#include <string>

#include "window/ui_sets.h"

namespace relay_hub {

bool is_remote(const __single* side);
// The side whose list, go button, entry or drive box this is; null for any other widget.
__single* side_of(gconstpointer widget);
__single* other_side(const __single* side);

// Opens the sub-folder of that name, or the parent for "..".
void open_sub_folder(__single* side, const std::string& name);
// Opens the folder above, where there is one.
void open_parent_folder(__single* side);
// Shows or hides the local files whose names begin with "."; for the remote list the engine decides.
void toggle_hidden_files();
// Opens what stands in the path entry.
void open_typed_path(__single* side);
// Opens the drive box's active entry; nothing when none is active.
void open_chosen_drive(__single* side);
// Makes the first entry of the drive box active and opens it.
void open_first_drive(__single* side);
// Loads the remote drives on a worker and opens the first one. Ends the process with status 0 when the
// engine offers none in 21 attempts, a second apart. Closing the busy dialog leaves the drive box empty.
void load_remote_drives();
// Clicks the first column's header, unless the list is sorted so already.
void sort_by_name(const __single* side);
// Clears and reloads the remote list; with no drive loaded yet, loads the drives.
void reload_remote_folder();

// The path that is meant by what was typed over a local folder: relative to the folder, below the home folder
// ("~"), or a file URI.
std::string typed_local_path(const std::string& typed, const std::string& folder);
// Where a path typed over a remote folder leads, normalised.
std::string typed_remote_path(const std::string& typed, const std::string& folder);

}  // namespace relay_hub
