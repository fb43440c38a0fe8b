#pragma once
// Making and opening FIFOs below a folder where everybody may write. Only a FIFO that belongs to this user or
// to root is ever used: one of another user would send our requests and names to a stranger. Any thread.
#include <fcntl.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>

#include "base/file_descriptor.h"
#include "base/wait.h"

namespace relay_hub {

// Opens the FIFO at path, never through a link and never anything but a FIFO of this user or root. flags: the
// access mode, with O_NONBLOCK where wanted. The result is non-blocking in any case. Empty with errno set on
// failure: EINVAL for what is no FIFO, EPERM for another user's.
FileDescriptor open_fifo(const std::string& path, int flags);
// The write end as soon as there is a reader: within 20 ms in the first second and with between, which is
// called between two attempts; later at once, too, but within half a second for a reader whose own open
// blocks. Empty with errno set: ETIMEDOUT, ECANCELED when the wait was ended, or as open_fifo.
FileDescriptor open_fifo_writer(const std::string& path, Deadline deadline,
                                const std::function<void()>& between = nullptr);
// Makes sure that a FIFO stands at path: one that is missing is created, with this mode whatever the process
// mask. False, with errno set as by open_fifo, when that fails or when something else stands there.
bool make_fifo(const std::string& path, mode_t mode);
// Gives a FIFO of this user the mode 0600, so that no other user can write to it. Anything else stays as it
// is.
void make_fifo_private(const std::string& path);
// Readable once one of these events of inotify (IN_OPEN, …) has come to the FIFO, however soon others open it
// again. Empty where the system grants no watch.
FileDescriptor watch_fifo(const std::string& path, std::uint32_t events);
// Lets the pipe hold 1 MiB where the system allows it.
void raise_capacity(int fifo);
// Keeps a write to a pipe without reader from ending the process. A handler set by someone else stays.
void ignore_broken_pipes();

// Reads away what waits in a non-blocking end or a watch, for at most limit against a writer that goes on.
void discard_waiting(int end, std::chrono::milliseconds limit);

}  // namespace relay_hub
