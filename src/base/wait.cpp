#include "base/wait.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>

namespace relay_hub {
namespace {

constexpr std::size_t kMostWatches = 3;
// How long a wait goes without a look at a token that has no descriptor of its own.
constexpr int kBlindSlice = 50;

thread_local int peer_write_end = -1;
thread_local int peer_leave_events = -1;

int poll_timeout(Deadline deadline, bool blind) {
    int timeout = -1;
    if (deadline) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
        timeout = static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
    }
    if (blind)
        timeout = timeout < 0 ? kBlindSlice : std::min(timeout, kBlindSlice);
    return timeout;
}

}  // namespace

WaitEnd wait_on(std::span<pollfd> watches, Deadline deadline) {
    const StopToken* token = current_stop_token();
    const std::size_t count = std::min(watches.size(), kMostWatches);
    std::array<pollfd, kMostWatches + 3> polled{{{token == nullptr ? -1 : token->descriptor(), POLLIN, 0},
                                                 {peer_write_end, 0, 0},
                                                 {peer_leave_events, POLLIN, 0}}};
    std::copy_n(watches.begin(), count, polled.begin() + 3);
    const bool blind = token != nullptr && token->descriptor() < 0;
    for (;;) {
        const int events = ::poll(polled.data(), count + 3, poll_timeout(deadline, blind));
        const int poll_errno = errno;
        if (token != nullptr && token->stopped())
            return WaitEnd::stopped;
        if (events > 0 && (polled[1].revents != 0 || polled[2].revents != 0))
            return WaitEnd::peer_left;
        if (events > 0) {
            std::copy_n(polled.begin() + 3, count, watches.begin());
            return WaitEnd::ready;
        }
        if (events < 0 && poll_errno != EINTR)
            return WaitEnd::timed_out;
        if (deadline && Clock::now() >= *deadline)
            return WaitEnd::timed_out;
    }
}

WaitEnd wait_for(int descriptor, short events, Deadline deadline) {
    pollfd watch{descriptor, events, 0};
    return wait_on({&watch, 1}, deadline);
}

bool interruptible_sleep(std::chrono::milliseconds time) {
    return wait_on({}, after(time)) == WaitEnd::timed_out;
}

bool peer_has_left() {
    std::array<pollfd, 2> peer{{{peer_write_end, 0, 0}, {peer_leave_events, POLLIN, 0}}};
    return ::poll(peer.data(), peer.size(), 0) > 0;
}

PeerScope::PeerScope(int write_end, int leave_events)
    : outer_write_end_(std::exchange(peer_write_end, write_end)),
      outer_leave_events_(std::exchange(peer_leave_events, leave_events)) {}

PeerScope::~PeerScope() {
    peer_write_end = outer_write_end_;
    peer_leave_events = outer_leave_events_;
}

}  // namespace relay_hub
