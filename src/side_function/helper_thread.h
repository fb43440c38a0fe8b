#pragma once
// Short work off the window's thread while the window stays live. Window's thread, GDK lock held.
#include <functional>

namespace relay_hub {

// Runs work, which touches no widget, on a thread of its own and turns the main loop until it has ended.
// False, after a diagnostic, when no thread could be started or the work ended early.
bool run_on_helper(const std::function<void()>& work);

}  // namespace relay_hub
