#pragma once
// FIFOs and the waits on them. Everything here is non-blocking beneath: a wait is a poll that also watches
// the AbandonToken bound to the calling thread, so no wait outlives an abandoned request. Any thread.
#include <poll.h>

#include <chrono>
#include <optional>
#include <span>
#include <string>

#include "base/file_descriptor.h"

namespace relay_hub {

using Clock = std::chrono::steady_clock;
// The moment at which a wait is given up; none waits without limit.
using Deadline = std::optional<Clock::time_point>;

enum class WaitEnd { ready, timed_out, abandoned };

inline Deadline after(std::chrono::milliseconds limit) {
    return Clock::now() + limit;
}

// Waits until one of at most two watches has an event, and fills their revents.
WaitEnd wait_on(std::span<pollfd> watches, Deadline deadline);
// Waits until descriptor is ready for events (POLLIN or POLLOUT), or shows an error or a hang-up.
WaitEnd wait_for(int descriptor, short events, Deadline deadline);
// Waits for the given time. timed_out, or abandoned.
WaitEnd rest(std::chrono::milliseconds time);

// Opens the FIFO at path, never through a link and never anything but a FIFO. flags: the access mode, with
// O_NONBLOCK where wanted. The result is non-blocking in any case. Empty with errno set on failure.
FileDescriptor open_fifo(const std::string& path, int flags);
// Makes sure that a FIFO stands at path: one that is missing is created, with mode 0777 whatever the
// process mask. False, with errno set, when that fails or when something else stands there.
bool make_fifo(const std::string& path);
// Lets the pipe hold 1 MiB where the system allows it.
void raise_capacity(int fifo);
// Keeps a write to a pipe without reader from ending the process. A handler set by someone else stays.
void ignore_broken_pipes();

// read() through EINTR.
ssize_t read_some(int fd, void* data, std::size_t size);

}  // namespace relay_hub
