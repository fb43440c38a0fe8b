#pragma once
// Whole frames in and out of a channel, as its server reads and writes them. Descriptors are non-blocking.
#include <chrono>
#include <memory>

#include "base/fifo.h"
#include "base/non_copyable.h"

// The body of the next frame, followed by zeros; *count is its length. A length of 0 or, as a signed number,
// below gives an empty body; a writer that ends within the body gives what came. Null when no whole header
// came, it did not come within three seconds, more than 16 MiB are announced, or the read failed.
std::unique_ptr<char[]> ReadPipeData(int fd, unsigned int* count);
// Writes data as one frame. A reader that has gone counts as delivered. False when the write fails or the
// reader takes nothing for three seconds.
bool WritePipeData(int fd, const char* data, unsigned int size);

namespace relay_hub {

// What a client is given in all: to send its request, and to open its end for the answer.
inline constexpr std::chrono::milliseconds kClientTime{3000};
// How long a reader may take nothing.
inline constexpr std::chrono::milliseconds kReaderPause{3000};

// While one lives, ReadPipeData on its thread takes no longer than what is left of that time, and lowers it.
class RoundTime : NonCopyable {
  public:
    explicit RoundTime(std::chrono::milliseconds& left);
    ~RoundTime();
};

void spend(std::chrono::milliseconds& left, Clock::time_point since);

}  // namespace relay_hub
