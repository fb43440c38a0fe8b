#pragma once
// How a wait is given up. A token is an eventfd: to end the waits, call stop(), from any thread and
// any number of times; every wait (wait.h) on a thread to which the token is bound then ends. A token stays
// stopped.
#include <atomic>

#include "base/file_descriptor.h"
#include "base/non_copyable.h"

namespace relay_hub {

class StopToken : NonCopyable {
  public:
    StopToken();

    void stop();
    [[nodiscard]] bool stopped() const { return stopped_; }
    // Readable once stopped; borrowed, for poll(). -1 when the system had no descriptor left: then look at
    // stopped() between short waits, as wait.h does.
    [[nodiscard]] int descriptor() const { return event_.get(); }

  private:
    std::atomic<bool> stopped_ = false;
    FileDescriptor event_;
};

// Binds a token to the calling thread for the scope's life; the token must outlive the scope. Scopes nest,
// the innermost counts.
class StopScope : NonCopyable {
  public:
    explicit StopScope(const StopToken& token);
    ~StopScope();

  private:
    const StopToken* outer_;
};

// The token bound to the calling thread, or null.
const StopToken* current_stop_token();

}  // namespace relay_hub
