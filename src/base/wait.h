#pragma once
// The bounded waits of both programs. Each is a poll that also ends when the StopToken bound to the calling
// thread is stopped, or when the peer that the thread serves (PeerScope) has left. Any thread.
#include <poll.h>

#include <chrono>
#include <optional>
#include <span>

#include "base/non_copyable.h"
#include "base/stop_token.h"

namespace relay_hub {

using Clock = std::chrono::steady_clock;
// The moment at which a wait is given up; without one it waits as long as it takes.
using Deadline = std::optional<Clock::time_point>;

enum class WaitEnd { ready, timed_out, stopped, peer_left };

inline Deadline after(std::chrono::milliseconds limit) {
    return Clock::now() + limit;
}

// Waits until one of at most three watches has an event, and fills their revents.
WaitEnd wait_on(std::span<pollfd> watches, Deadline deadline);
// Waits until descriptor is ready for events (POLLIN or POLLOUT), or shows an error or a hang-up.
WaitEnd wait_for(int descriptor, short events, Deadline deadline);
// Sleeps. False as soon as the thread is stopped or its peer has left.
bool interruptible_sleep(std::chrono::milliseconds time);
// For its life the calling thread works for one peer only: waits also end once write_end has no reader any
// more, or leave_events becomes readable. -1 for neither; both are borrowed. Of scopes that nest the two
// innermost count.
class PeerScope : NonCopyable {
  public:
    PeerScope(int write_end, int leave_events);
    ~PeerScope();

    // The calling thread's innermost scope, or null.
    static const PeerScope* innermost();
    [[nodiscard]] const PeerScope* outer() const { return outer_; }
    [[nodiscard]] int write_end() const { return write_end_; }
    [[nodiscard]] int leave_events() const { return leave_events_; }

  private:
    const PeerScope* outer_;
    int write_end_;
    int leave_events_;
};
// Whether a peer of the calling thread has left.
bool peer_has_left();

}  // namespace relay_hub
