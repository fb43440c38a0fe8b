#include "name_pipe/pipe_data.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "base/frame.h"

namespace {

using relay_hub::ReadEnd;
using relay_hub::WriteEnd;
using std::chrono::milliseconds;

// No call-back is longer.
constexpr std::uint32_t kLongestBody = 16U * 1024 * 1024;
// A body is followed by this many zeros, so that its marker can be looked at whatever its length.
constexpr std::size_t kBodyEnd = 8;

// A length that is negative as a signed number stands for an empty body.
bool is_negative(const relay_hub::FrameProgress& progress) {
    return static_cast<std::int32_t>(progress.announced()) < 0;
}

// What is left of the current round's time; null outside of a round.
thread_local milliseconds* round_time = nullptr;

}  // namespace

relay_hub::RoundTime::RoundTime(milliseconds& left) {
    round_time = &left;
}

relay_hub::RoundTime::~RoundTime() {
    round_time = nullptr;
}

void relay_hub::spend(milliseconds& left, Clock::time_point since) {
    left -= std::chrono::duration_cast<milliseconds>(Clock::now() - since);
}

std::unique_ptr<char[]> ReadPipeData(int fd, unsigned int* count) {
    *count = 0;
    relay_hub::FrameProgress progress;
    std::string body;
    const auto collect = [&](std::string_view piece) {
        const bool believed = progress.announced() <= kLongestBody;
        if (believed)
            body.append(piece);
        return believed;
    };
    const milliseconds time = round_time != nullptr ? *round_time : relay_hub::kClientTime;
    const auto since = relay_hub::Clock::now();
    const ReadEnd end = relay_hub::read_frame(fd, progress, {time, time, relay_hub::after(time)}, collect);
    if (round_time != nullptr)
        relay_hub::spend(*round_time, since);
    const bool usable = end == ReadEnd::complete || end == ReadEnd::closed || is_negative(progress);
    if (!usable || !progress.header_complete()) {
        // What remains of it would be read as the next client's request, and that client would get its
        // failure.
        relay_hub::discard_waiting(fd, time);
        return nullptr;
    }
    auto result = std::make_unique<char[]>(body.size() + kBodyEnd);
    std::memcpy(result.get(), body.data(), body.size());
    *count = static_cast<unsigned int>(body.size());
    return result;
}

bool WritePipeData(int fd, const char* data, unsigned int size) {
    const relay_hub::FrameHeader header = relay_hub::frame_header(size);
    WriteEnd end = relay_hub::write_bytes(fd, {header.data(), header.size()}, relay_hub::kReaderPause);
    if (end == WriteEnd::done)
        end = relay_hub::write_bytes(fd, {data, size}, relay_hub::kReaderPause);
    return end == WriteEnd::done || end == WriteEnd::closed;
}
