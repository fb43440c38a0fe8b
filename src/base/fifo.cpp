#include "base/fifo.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

#include "base/ownership.h"

namespace relay_hub {
namespace {

using std::chrono::milliseconds;

constexpr mode_t kPrivateMode = 0600;
constexpr int kFifoCapacity = 1048576;
constexpr milliseconds kFirstRetry{1};
constexpr milliseconds kLongestRetry{20};
// A peer that is between two rounds is back within this time. Later its opening is awaited as an event; one
// that blocks in its open() causes none before our end is open, so that it is still looked for, after longer
// and longer pauses.
constexpr milliseconds kEagerTime{100};
constexpr milliseconds kPatientRetry{1000};

// Sets errno.
bool is_usable_fifo(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0)
        return false;
    if (!S_ISFIFO(status.st_mode)) {
        errno = EINVAL;
        return false;
    }
    if (is_ours_or_roots(status))
        return true;
    errno = EPERM;
    return false;
}

// What stands at path, without opening it for anything.
FileDescriptor find_fifo(const std::string& path) {
    FileDescriptor place(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    return place && is_usable_fifo(place.get()) ? std::move(place) : FileDescriptor();
}

// Sleeps, at most until the deadline or until somebody opens. False when the wait was ended.
bool sleep_until_opened(int opens, milliseconds pause, Deadline deadline) {
    const Clock::time_point end = Clock::now() + pause;
    const WaitEnd woken = wait_for(opens, POLLIN, deadline ? std::min(*deadline, end) : end);
    if (woken == WaitEnd::ready)
        discard_waiting(opens, pause);
    return woken == WaitEnd::ready || woken == WaitEnd::timed_out;
}

// Swapping the name for a link gains an attacker nothing.
bool set_mode(const FileDescriptor& place, mode_t mode) {
    return ::chmod(path_of_descriptor(place.get()).c_str(), mode) == 0;
}

}  // namespace

FileDescriptor open_fifo(const std::string& path, int flags) {
    const long fd = TEMP_FAILURE_RETRY(::open(path.c_str(), flags | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY));
    FileDescriptor fifo(static_cast<int>(fd));
    if (!fifo || !is_usable_fifo(fifo.get()))
        return {};
    if ((flags & O_NONBLOCK) == 0 && ::fcntl(fifo.get(), F_SETFL, flags | O_NONBLOCK) != 0)
        return {};
    return fifo;
}

FileDescriptor open_fifo_writer(const std::string& path, Deadline deadline,
                                const std::function<void()>& between) {
    const Clock::time_point eager_until = Clock::now() + kEagerTime;
    milliseconds pause = kFirstRetry;
    FileDescriptor opens;
    for (;;) {
        FileDescriptor fifo = open_fifo(path, O_WRONLY | O_NONBLOCK);
        if (fifo || errno != ENXIO)
            return fifo;
        if (deadline && Clock::now() >= *deadline) {
            errno = ETIMEDOUT;
            return {};
        }
        if (!sleep_until_opened(opens.get(), pause, deadline)) {
            errno = ECANCELED;
            return {};
        }
        pause = std::min(pause * 2, opens ? kPatientRetry : kLongestRetry);
        if (between)
            between();
        else if (!opens && Clock::now() >= eager_until)
            opens = watch_fifo(path, IN_OPEN);
    }
}

bool make_fifo(const std::string& path, mode_t mode) {
    const bool created = ::mkfifo(path.c_str(), mode) == 0;
    if (!created && errno != EEXIST)
        return false;
    const FileDescriptor place = find_fifo(path);
    if (!place)
        return false;
    if (!created || set_mode(place, mode))
        return true;
    const int chmod_errno = errno;
    (void)::unlink(path.c_str());
    errno = chmod_errno;
    return false;
}

void make_fifo_private(const std::string& path) {
    struct stat status {};
    // Mostly there is nothing to do.
    if (::lstat(path.c_str(), &status) != 0 || (status.st_mode & ALLPERMS) == kPrivateMode)
        return;
    const FileDescriptor place = find_fifo(path);
    if (place && ::fstat(place.get(), &status) == 0 && (status.st_mode & ALLPERMS) != kPrivateMode)
        (void)set_mode(place, kPrivateMode);
}

FileDescriptor watch_fifo(const std::string& path, std::uint32_t events) {
    FileDescriptor watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (watch && ::inotify_add_watch(watch.get(), path.c_str(), events | IN_DONT_FOLLOW) < 0)
        watch.reset();
    return watch;
}

void raise_capacity(int fifo) {
    (void)::fcntl(fifo, F_SETPIPE_SZ, kFifoCapacity);
}

void ignore_broken_pipes() {
    struct sigaction current {};
    if (::sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL)
        (void)std::signal(SIGPIPE, SIG_IGN);
}

void discard_waiting(int end, std::chrono::milliseconds limit) {
    std::array<char, 4096> dropped;  // mostly there is nothing
    const Deadline latest = after(limit);
    while (read_some(end, dropped.data(), dropped.size()) > 0 && Clock::now() < *latest) {
    }
}

}  // namespace relay_hub
