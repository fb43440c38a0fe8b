#pragma once
// How far a copy is, as a person reads it: "12 of 300 items · 84 MB of 1.2 GB · 23 MB/s · about 1 minute
// left". One copy, one thread.
#include <chrono>
#include <cstdint>
#include <deque>
#include <string>

namespace relay_hub {

struct ProgressCounts {
    std::uint64_t items_done = 0;
    std::uint64_t items_total = 0;
    std::uint64_t items_present = 0;  // of those done: were at the target already
    std::uint64_t bytes_done = 0;
    std::uint64_t bytes_total = 0;
    std::uint64_t bytes_moved = 0;  // of those done: the others were there already, left out or holes
};

class ProgressText {
  public:
    using Clock = std::chrono::steady_clock;

    // The speed is that of the last seconds; it and the time left are shown once they mean something.
    std::string text(const ProgressCounts& counts, Clock::time_point now);

  private:
    struct Sample {
        Clock::time_point time;
        std::uint64_t bytes_moved;
    };
    // Bytes a second, 0 while it is unknown.
    double speed(const ProgressCounts& counts, Clock::time_point now);

    std::deque<Sample> samples_;  // oldest first, a quarter of a second apart at least
};

}  // namespace relay_hub
