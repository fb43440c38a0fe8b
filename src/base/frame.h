#pragma once
// One frame on a FIFO: a 4-byte little-endian length, then that many bytes. FrameProgress keeps how far the
// reading of a frame has come, so that it can be taken up again later. All waits are those of wait.h.
// Descriptors are non-blocking FIFO ends.
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "base/non_copyable.h"
#include "base/wait.h"

namespace relay_hub {

inline constexpr std::size_t kFrameHeaderSize = 4;
using FrameHeader = std::array<char, kFrameHeaderSize>;

FrameHeader frame_header(std::uint32_t length);

class FrameProgress {
  public:
    // Takes what was read and returns what of it belongs to the body.
    std::string_view take(std::string_view bytes);
    // How many bytes are still to come, as far as is known: the rest of the header until it is complete.
    [[nodiscard]] std::size_t wanted() const;
    [[nodiscard]] bool started() const { return header_size_ > 0; }
    [[nodiscard]] bool header_complete() const { return header_size_ == kFrameHeaderSize; }
    [[nodiscard]] bool complete() const { return header_complete() && body_size_ == announced(); }
    // The length of the body as announced; 0 until the header is complete.
    [[nodiscard]] std::uint32_t announced() const;

  private:
    FrameHeader header_{};
    std::size_t header_size_ = 0;
    std::uint32_t body_size_ = 0;
};

// How a reading ended: the frame is complete; the sink wants no more; no writer is there any more; nothing
// came for too long; the wait was ended (the thread was stopped or its peer left); or the read failed.
enum class ReadEnd { complete, enough, closed, timed_out, stopped, failed };

// Tells that the writer of a frame has closed its end. A FIFO alone shows that only until somebody opens it
// for writing again.
class WriterWatch : NonCopyable {
  public:
    virtual ~WriterWatch() = default;
    // Readable when has_left() is worth a look; -1 without a watch. Borrowed.
    [[nodiscard]] virtual int descriptor() const = 0;
    virtual bool has_left() = 0;
};

// How long to wait for the first and for each further byte (none: no limit), when the whole reading ends, and
// who tells of the writer's end; null for nobody.
struct Patience {
    std::optional<std::chrono::milliseconds> first;
    std::chrono::milliseconds next;
    Deadline total = std::nullopt;
    WriterWatch* writer = nullptr;
};

// Gets each piece of the body, and an empty one when the length came alone; false ends the reading.
using BodySink = std::function<bool(std::string_view)>;

// Reads on from where progress stands, never past the frame's end.
ReadEnd read_frame(int fd, FrameProgress& progress, Patience patience, const BodySink& sink);

enum class WriteEnd { done, closed, timed_out, stopped, failed };

// Writes all bytes, waiting for room as long as stall says each time. on_write gets each count written.
WriteEnd write_bytes(int fd, std::string_view bytes, std::optional<std::chrono::milliseconds> stall,
                     const std::function<void(std::size_t)>& on_write = nullptr);
// The same for count zero bytes, which cost neither memory nor copying.
WriteEnd write_zeros(int fd, std::size_t count, std::chrono::milliseconds stall);

}  // namespace relay_hub
