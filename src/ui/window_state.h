#pragma once
// What the main window remembers from one run to the next, in a key file: its size, the divider, the widths
// of the columns and the order of the lists. Without the file, or with a broken one, nothing is changed.
// Window's thread.
#include <string>

#include "window/ui_sets.h"

namespace relay_hub {

// The file's path below $XDG_STATE_HOME.
std::string window_state_path();

// Applies what path holds to the window, which is built and not shown yet, and keeps path up to date: it is
// written when the window goes. A file that cannot be written is reported on standard error.
void remember_window(const UI* ui, const std::string& path);

// True when the list's order came from an earlier run: its first listing is not to be sorted again.
bool order_is_remembered(const __single* side);

}  // namespace relay_hub
