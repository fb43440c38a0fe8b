#pragma once
// The last resort of closing: a thread of its own that ends the process with status 0 when the orderly end
// takes too long, even with a main loop that is stuck. Window's thread.
#include "base/worker.h"

namespace relay_hub {

class Watchdog {
  public:
    Watchdog() = default;
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog() { disarm(); }

    // From now on the process ends within 1.5 seconds, whatever else happens.
    void arm();
    // Calls it off and waits for its thread.
    void disarm();

  private:
    Worker worker_;
};

// Ends the process with status 0 at once, without its exit handlers: writes the trace's closing lines and
// flushes standard output. Any thread.
[[noreturn]] void end_process();

}  // namespace relay_hub
