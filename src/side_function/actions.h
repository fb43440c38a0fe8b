#pragma once
// What the panes do with their selection and their folder: one table, and one way to run a row of it.
// Window's thread, GDK lock held.
#include "side_function/pane.h"

namespace relay_hub {

// In the table's order.
enum class Action { make_folder, rename, remove, refresh, copy, paste, cut, copy_across };

// Prints the line, unless it is null, acts, reads the list again and selects what the action leaves selected.
// The action's result; -1 at once when the program is closing.
int run_action(const Pane& pane, Action action, const char* line = nullptr);

}  // namespace relay_hub
