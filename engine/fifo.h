#pragma once
// The engine's byte-level work on FIFOs: making and opening them safely, waiting with a limit, frames of a
// 4-byte little-endian length and that many bytes. No wait here outlives the stop event.
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/file_descriptor.h"

namespace relay_hub::engine {

// Raised once, from any thread or signal handler's thread; everything that waits ends.
class StopEvent {
  public:
    StopEvent();
    StopEvent(const StopEvent&) = delete;
    StopEvent& operator=(const StopEvent&) = delete;
    void raise();
    [[nodiscard]] bool raised() const;
    [[nodiscard]] int descriptor() const { return event_.get(); }

  private:
    FileDescriptor event_;
};

using Milliseconds = std::chrono::milliseconds;

// Tells when the reader of a FIFO closed it, even if another reader came at once. Where the system grants no
// watch nothing is told. One thread at a time.
class ReaderWatch {
  public:
    explicit ReaderWatch(const std::string& path);
    // From now on only later leavings count.
    void forget();
    // Readable once a reader left; -1 without a watch. Borrowed.
    [[nodiscard]] int descriptor() const { return events_.get(); }

  private:
    FileDescriptor events_;
};

// Waits on descriptors of one thread. Also ends when a peer leaves that the wait is for.
class PipeWaiter {
  public:
    explicit PipeWaiter(const StopEvent& stop) : stop_(stop) {}
    // The write end whose reader is waited for, and the descriptor of its watch; -1 for none. Borrowed.
    void set_peer(int write_end, int leave_events) {
        peer_ = write_end;
        leave_events_ = leave_events;
    }
    [[nodiscard]] bool peer_left() const;
    // 0 when fd has one of the events (or hung up); ETIMEDOUT; ECANCELED when stopped; ECONNRESET when the
    // peer left. fd -1 just waits.
    [[nodiscard]] int wait(int fd, short events, Milliseconds limit) const;

  private:
    const StopEvent& stop_;
    int peer_ = -1;
    int leave_events_ = -1;
};

// Makes the FIFO, 0600, or takes the one that is there. False, with why told, when something else is there or
// it belongs to somebody else.
bool make_fifo(const std::string& path, std::string& why);
// open() of a FIFO of this user, never through a link. 0 or errno; EINVAL for what is no such FIFO.
int open_fifo(const std::string& path, int flags, FileDescriptor& fifo);
// The write end, non-blocking, as soon as there is a reader. 0, ENOENT, ETIMEDOUT and the results of wait().
int open_fifo_writer(const std::string& path, const PipeWaiter& waiter, Milliseconds limit,
                     FileDescriptor& fifo);

// Reads size bytes; limit is for the time without a byte. 0, EPIPE at the end of the data, or as wait().
int read_bytes(int fd, const PipeWaiter& waiter, Milliseconds limit, char* data, std::size_t size);
// One frame, its memory growing with what arrives. EMSGSIZE for one longer than longest.
int read_frame(int fd, const PipeWaiter& waiter, Milliseconds limit, std::size_t longest, std::string& body);
// Length and body. At most piece bytes go into one write, 0 for no such limit.
int write_frame(int fd, const PipeWaiter& waiter, Milliseconds limit, std::string_view body,
                std::size_t piece);

std::uint32_t frame_length(const char* bytes);
inline constexpr std::size_t kFrameHeader = 4;
// What stands before the message in a request.
inline constexpr std::string_view kCommandMarker{"\xC9\xBB\x29\xF9\x00\x01", 6};

}  // namespace relay_hub::engine
