#include "base/frame.h"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <thread>
#include <vector>

#include "base/fifo.h"

namespace relay_hub {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kReadChunk = 65536;
// A reader that has made room makes more at once; a writer that woke for each page would cost more than its
// writing.
constexpr std::chrono::microseconds kDrainTime{150};

// Never changed, so that the pipe may refer to it instead of holding a copy: 200 padded call-backs a second
// cost the window 3.4 % of a processor so, and 7.4 % with copies.
constexpr std::size_t kZeroRegionSize = 65536;
alignas(4096) const std::array<char, kZeroRegionSize> zero_region{};

Deadline limit_of(std::optional<milliseconds> limit, Deadline total = std::nullopt) {
    const Deadline next = limit ? after(*limit) : Deadline{};
    return next && total ? std::min(*next, *total) : next ? next : total;
}

// Repeats one attempt until size bytes are through; attempt(offset) returns as write() does.
template <typename Attempt>
WriteEnd write_through(int fd, std::size_t size, std::optional<milliseconds> stall, const Attempt& attempt) {
    std::size_t written = 0;
    while (written < size) {
        const ssize_t count = attempt(written);
        if (count > 0) {
            written += static_cast<std::size_t>(count);
            continue;
        }
        if (count == 0)
            return WriteEnd::failed;
        if (errno == EPIPE)
            return WriteEnd::closed;
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN)
            return WriteEnd::failed;
        const WaitEnd end = wait_for(fd, POLLOUT, limit_of(stall));
        if (end != WaitEnd::ready)
            return end == WaitEnd::timed_out ? WriteEnd::timed_out : WriteEnd::stopped;
        std::this_thread::sleep_for(kDrainTime);
    }
    return WriteEnd::done;
}

// Hands pages of the zero region to the pipe by reference; what cannot take them gets a copy.
ssize_t hand_over_zeros(int fd, std::size_t count) {
    constexpr std::size_t kRepeats = 16;
    std::array<iovec, kRepeats> regions{};
    std::size_t used = 0;
    for (; used < kRepeats && count > 0; ++used) {
        const std::size_t size = std::min(count, kZeroRegionSize);
        regions[used] = {const_cast<char*>(zero_region.data()), size};
        count -= size;
    }
    const ssize_t spliced = ::vmsplice(fd, regions.data(), used, SPLICE_F_NONBLOCK);
    if (spliced >= 0 || errno == EAGAIN || errno == EPIPE || errno == EINTR)
        return spliced;
    return ::write(fd, zero_region.data(), regions[0].iov_len);
}

}  // namespace

FrameHeader frame_header(std::uint32_t length) {
    FrameHeader header{};
    for (std::size_t i = 0; i < kFrameHeaderSize; ++i)
        header[i] = static_cast<char>(length >> (8 * i) & 0xFFU);
    return header;
}

std::string_view FrameProgress::take(std::string_view bytes) {
    const std::size_t header_part = std::min(bytes.size(), kFrameHeaderSize - header_size_);
    std::copy_n(bytes.begin(), header_part, header_.begin() + static_cast<std::ptrdiff_t>(header_size_));
    header_size_ += header_part;
    const std::string_view body = bytes.substr(header_part, announced() - body_size_);
    body_size_ += static_cast<std::uint32_t>(body.size());
    return body;
}

std::size_t FrameProgress::wanted() const {
    return header_complete() ? announced() - body_size_ : kFrameHeaderSize - header_size_;
}

std::uint32_t FrameProgress::announced() const {
    std::uint32_t length = 0;
    if (header_complete())
        for (std::size_t i = 0; i < kFrameHeaderSize; ++i)
            length |= static_cast<std::uint32_t>(static_cast<unsigned char>(header_[i])) << (8 * i);
    return length;
}

ReadEnd read_frame(int fd, FrameProgress& progress, Patience patience, const BodySink& sink) {
    // Not on the stack: a fresh thread would be given pages for all of it, for a few bytes mostly.
    std::vector<char> chunk;
    std::optional<milliseconds> limit = patience.first;
    bool writer_left = false;
    while (!progress.complete()) {
        chunk.resize(std::min(kReadChunk, progress.wanted()));
        const ssize_t count = read_some(fd, chunk.data(), chunk.size());
        if (count == 0)
            return ReadEnd::closed;
        if (count > 0) {
            limit = patience.next;
            const std::string_view body = progress.take({chunk.data(), static_cast<std::size_t>(count)});
            if (progress.header_complete() && !sink(body))
                return ReadEnd::enough;
            if (patience.total && Clock::now() >= *patience.total && !progress.complete())
                return ReadEnd::timed_out;
            continue;
        }
        if (errno != EAGAIN)
            return ReadEnd::failed;
        // All that the peer wrote before it left has been read by now.
        if (writer_left)
            return ReadEnd::closed;
        std::array<pollfd, 2> watches{
            {{fd, POLLIN, 0}, {patience.writer == nullptr ? -1 : patience.writer->descriptor(), POLLIN, 0}}};
        const WaitEnd end = wait_on(watches, limit_of(limit, patience.total));
        if (end != WaitEnd::ready)
            return end == WaitEnd::timed_out ? ReadEnd::timed_out : ReadEnd::stopped;
        writer_left = watches[1].revents != 0 && patience.writer->has_left();
    }
    return ReadEnd::complete;
}

WriteEnd write_bytes(int fd, std::string_view bytes, std::optional<milliseconds> stall,
                     const std::function<void(std::size_t)>& on_write) {
    return write_through(fd, bytes.size(), stall, [&](std::size_t offset) {
        const ssize_t count = ::write(fd, bytes.data() + offset, bytes.size() - offset);
        if (count > 0 && on_write)
            on_write(static_cast<std::size_t>(count));
        return count;
    });
}

WriteEnd write_zeros(int fd, std::size_t count, std::chrono::milliseconds stall) {
    return write_through(fd, count, stall,
                         [&](std::size_t offset) { return hand_over_zeros(fd, count - offset); });
}

}  // namespace relay_hub
