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

// Where the caller's watches begin: behind the token's and two for each of two peers.
constexpr std::size_t kFirstWatch = 5;

thread_local const PeerScope* innermost_scope = nullptr;

std::array<pollfd, kMostWatches + kFirstWatch> own_watches() {
    std::array<pollfd, kMostWatches + kFirstWatch> watches{};
    watches.fill({-1, 0, 0});
    const PeerScope* scope = innermost_scope;
    for (std::size_t at = 1; at < kFirstWatch && scope != nullptr; at += 2, scope = scope->outer()) {
        watches[at].fd = scope->write_end();
        watches[at + 1] = {scope->leave_events(), POLLIN, 0};
    }
    return watches;
}

bool any_event(std::span<const pollfd> watches) {
    return std::any_of(watches.begin(), watches.end(),
                       [](const pollfd& watch) { return watch.revents != 0; });
}

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
    auto polled = own_watches();
    const std::span<const pollfd> peers(polled.data() + 1, kFirstWatch - 1);
    if (token != nullptr)
        polled[0] = {token->descriptor(), POLLIN, 0};
    std::copy_n(watches.begin(), count, polled.begin() + kFirstWatch);
    const bool blind = token != nullptr && token->descriptor() < 0;
    for (;;) {
        const int events = ::poll(polled.data(), count + kFirstWatch, poll_timeout(deadline, blind));
        const int poll_errno = errno;
        if (token != nullptr && token->stopped())
            return WaitEnd::stopped;
        if (events > 0 && any_event(peers))
            return WaitEnd::peer_left;
        if (events > 0) {
            std::copy_n(polled.begin() + kFirstWatch, count, watches.begin());
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
    auto watches = own_watches();
    return ::poll(watches.data(), kFirstWatch, 0) > 0;
}

PeerScope::PeerScope(int write_end, int leave_events)
    : outer_(std::exchange(innermost_scope, this)), write_end_(write_end), leave_events_(leave_events) {}

PeerScope::~PeerScope() {
    innermost_scope = outer_;
}

const PeerScope* PeerScope::innermost() {
    return innermost_scope;
}

}  // namespace relay_hub
