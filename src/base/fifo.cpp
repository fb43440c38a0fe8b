#include "base/fifo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>

#include "base/abandon.h"

namespace relay_hub {
namespace {

constexpr mode_t kFifoMode = 0777;
constexpr int kFifoCapacity = 1048576;
constexpr std::size_t kMostWatches = 2;
// How long a wait goes without a look at a token that has no descriptor of its own.
constexpr int kBlindSlice = 50;

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

bool is_fifo(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0)
        return false;
    if (S_ISFIFO(status.st_mode))
        return true;
    errno = EINVAL;
    return false;
}

}  // namespace

WaitEnd wait_on(std::span<pollfd> watches, Deadline deadline) {
    const AbandonToken* token = current_abandon_token();
    std::array<pollfd, kMostWatches + 1> polled{};
    const std::size_t count = std::min(watches.size(), kMostWatches);
    std::copy_n(watches.begin(), count, polled.begin());
    polled[count] = {token == nullptr ? -1 : token->descriptor(), POLLIN, 0};
    const bool blind = token != nullptr && token->descriptor() < 0;
    for (;;) {
        const int events = ::poll(polled.data(), count + 1, poll_timeout(deadline, blind));
        const int poll_errno = errno;
        if (token != nullptr && token->abandoned())
            return WaitEnd::abandoned;
        if (events > 0) {
            std::copy_n(polled.begin(), count, watches.begin());
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

WaitEnd rest(std::chrono::milliseconds time) {
    return wait_on({}, after(time));
}

FileDescriptor open_fifo(const std::string& path, int flags) {
    int fd = -1;
    do {
        fd = ::open(path.c_str(), flags | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY);
    } while (fd < 0 && errno == EINTR);
    FileDescriptor fifo(fd);
    if (!fifo || !is_fifo(fd))
        return {};
    if ((flags & O_NONBLOCK) == 0 && ::fcntl(fd, F_SETFL, flags | O_NONBLOCK) != 0)
        return {};
    return fifo;
}

bool make_fifo(const std::string& path) {
    const bool created = ::mkfifo(path.c_str(), kFifoMode) == 0;
    if (!created && errno != EEXIST)
        return false;
    const FileDescriptor place(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!place || !is_fifo(place.get()))
        return false;
    if (!created)
        return true;
    // By descriptor: whoever swaps the name for a link gains nothing.
    const std::string by_descriptor = "/proc/self/fd/" + std::to_string(place.get());
    if (::chmod(by_descriptor.c_str(), kFifoMode) == 0)
        return true;
    const int chmod_errno = errno;
    (void)::unlink(path.c_str());
    errno = chmod_errno;
    return false;
}

void raise_capacity(int fifo) {
    (void)::fcntl(fifo, F_SETPIPE_SZ, kFifoCapacity);
}

void ignore_broken_pipes() {
    struct sigaction current {};
    if (::sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL)
        (void)std::signal(SIGPIPE, SIG_IGN);
}

ssize_t read_some(int fd, void* data, std::size_t size) {
    ssize_t count = -1;
    do {
        count = ::read(fd, data, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

}  // namespace relay_hub
