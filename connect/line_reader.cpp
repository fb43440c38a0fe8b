#include "connect/line_reader.h"

#include <glib-unix.h>

#include <array>
#include <cerrno>

#include "base/fifo.h"

namespace relay_hub::connect {
namespace {

constexpr std::size_t kPieceSize = 4096;
// A writer that never ends its line is cut here.
constexpr std::size_t kLongestLine = 65536;

}  // namespace

LineReader::LineReader(FileDescriptor pipe, TakeLine take_line)
    : pipe_(std::move(pipe)), take_line_(std::move(take_line)) {
    g_unix_set_fd_nonblocking(pipe_.get(), TRUE, nullptr);
    source_.reset(
        g_unix_fd_add(pipe_.get(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR), on_ready, this));
}

void LineReader::drain() {
    while (pipe_ && read_once()) {
    }
}

gboolean LineReader::on_ready(int, GIOCondition, gpointer self) {
    auto* reader = static_cast<LineReader*>(self);
    (void)reader->read_once();
    return reader->pipe_ ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

// False when nothing was there, or at the end.
bool LineReader::read_once() {
    std::array<char, kPieceSize> piece{};
    const ssize_t count = read_some(pipe_.get(), piece.data(), piece.size());
    if (count < 0 && errno == EAGAIN)
        return false;
    if (count > 0) {
        pending_.append(piece.data(), static_cast<std::size_t>(count));
        take_complete_lines();
        return true;
    }
    source_.reset();
    pipe_.reset();
    if (!pending_.empty())
        take_line_(std::exchange(pending_, {}));
    return false;
}

void LineReader::take_complete_lines() {
    while (true) {
        const std::size_t end = pending_.find('\n');
        const bool complete = end != std::string::npos;
        if (!complete && pending_.size() < kLongestLine)
            return;
        const std::string line = pending_.substr(0, complete ? end : kLongestLine);
        pending_.erase(0, line.size() + (complete ? 1 : 0));
        take_line_(line);
    }
}

}  // namespace relay_hub::connect
