#pragma once
// What main does besides the window: the working directory, the lock against a second start, the order of
// the end. Window's thread.
#include <memory>
#include <optional>

#include "base/instance_lock.h"
#include "base/program_locale.h"
#include "tree_view_op/listing_turns.h"

class CNamePipeBase;

inline constexpr int kWorkPathSize = 4096;
// The process's working directory at start; empty when it could not be read.
extern char g_absolute_work_path[kWorkPathSize];

namespace relay_hub {

// Serves --help and --version, and names what it does not know on standard error. The status with which the
// process is to end; empty when it is to go on. Takes the toolkit's own options (--display, --class ...) out
// of argc and argv.
std::optional<int> serve_command_line(int* argc, char*** argv);

// Enters the window's language for the present LANG, settling LANG first, once the toolkit is up. False when
// LANG was replaced.
bool enter_chosen_locale();
// The same, telling the event log.
void settle_locale();

void remember_work_path();

// The lock of the window: the FIFOs and logs have fixed names, so a second start must not touch them.
inline constexpr char kWindowLock[] = "relay-hub.lock";
// False when another window of this user holds the lock. A lock that cannot be had is reported on stderr
// and does not keep the window from opening.
bool may_run(const InstanceLock& lock);

// Says on standard error, and in a box where there is a display, that the program runs already.
void tell_already_running(int* argc, char*** argv);

// Connects the rooms beneath with the window: questions, call-backs, and long listings, whose watcher must
// live as long as the window.
[[nodiscard]] std::unique_ptr<ListingWatcher> install_window_services();

// After the main loop: ends hand-overs, monitor and listener. Where a thread cannot be ended, ends the
// process with status 0.
void shut_down(CNamePipeBase& listener);

}  // namespace relay_hub
