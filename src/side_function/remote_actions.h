#pragma once
// The remote pane's actions (actions.h). Window's thread.
#include "side_function/pane.h"

namespace relay_hub {

Outcome make_remote_folder(const Pane& pane);
Outcome rename_remote_entry(const Pane& pane);
Outcome trash_remote_entries(const Pane& pane);
Outcome copy_remote_entries(const Pane& pane);
Outcome cut_remote_entries(const Pane& pane);
Outcome paste_remotely(const Pane& pane);
// Copies the selection into the folder that the other pane shows.
Outcome copy_remote_entries_across(const Pane& pane);

}  // namespace relay_hub
