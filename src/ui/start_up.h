#pragma once
// What main does besides the window: the working directory, the lock against a second start, the order of
// the end. Window's thread.
#include "base/file_descriptor.h"

class CNamePipeBase;

inline constexpr int kWorkPathSize = 4096;
// The process's working directory at start; empty when it could not be read.
extern char g_absolute_work_path[kWorkPathSize];

namespace relay_hub {

void remember_work_path();

// One window a user: the FIFOs and logs have fixed names, so a second start must not touch them. The lock is
// a locked file in the user's runtime directory and goes with the process.
class InstanceLock {
  public:
    InstanceLock();
    // False when another process of this user holds it. A lock file that cannot be made is told on standard
    // error and counts as held.
    [[nodiscard]] bool held() const { return held_; }

  private:
    FileDescriptor file_;
    bool held_ = true;
};

// Says on standard error, and in a box where there is a display, that the program runs already.
void tell_already_running(int* argc, char*** argv);

// Connects the rooms beneath with the window: questions, call-backs, long listings.
void install_window_services();

// After the main loop: ends hand-overs, monitor and listener. Where a thread cannot be ended, ends the
// process with status 0.
void shut_down(CNamePipeBase& listener);

}  // namespace relay_hub
