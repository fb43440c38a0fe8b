#pragma once
// The local pane's actions (actions.h). Window's thread.
#include "side_function/pane.h"

namespace relay_hub {

Outcome make_local_folder(const Pane& pane);
Outcome rename_local_entry(const Pane& pane);
Outcome trash_local_entries(const Pane& pane);
Outcome copy_local_entries(const Pane& pane);
Outcome cut_local_entries(const Pane& pane);
Outcome paste_locally(const Pane& pane);
// Copies the selection into the folder that the other pane shows.
Outcome copy_local_entries_across(const Pane& pane);

}  // namespace relay_hub
