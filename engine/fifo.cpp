#include "engine/fifo.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "base/diagnostics.h"

namespace relay_hub::engine {
namespace {

using std::chrono::steady_clock;

constexpr std::size_t kReadStep = 256UL * 1024;
constexpr Milliseconds kFirstRetry{1};
constexpr Milliseconds kSlowestRetry{20};
constexpr Milliseconds kDrainLimit{100};

Milliseconds left_until(steady_clock::time_point end) {
    return std::max(Milliseconds(0), std::chrono::ceil<Milliseconds>(end - steady_clock::now()));
}

int write_piece(int fd, const PipeWaiter& waiter, Milliseconds limit, std::string_view piece) {
    while (!piece.empty()) {
        const ssize_t count = ::write(fd, piece.data(), piece.size());
        if (count >= 0) {
            piece.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN) {
            if (const int error = waiter.wait(fd, POLLOUT, limit); error != 0)
                return error;
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

// Gives the reader the time to take a piece by itself.
void await_drained(int fd, const PipeWaiter& waiter) {
    const auto end = steady_clock::now() + kDrainLimit;
    int queued = 0;
    while (ioctl(fd, FIONREAD, &queued) == 0 && queued > 0 && steady_clock::now() < end) {
        if (waiter.wait(-1, 0, kFirstRetry) != ETIMEDOUT)
            return;
    }
}

}  // namespace

StopEvent::StopEvent() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!event_)
        report_error(RELAY_HUB_HERE, errno);
}

void StopEvent::raise() {
    const std::uint64_t one = 1;
    (void)write_all(event_.get(), &one, sizeof one);
}

bool StopEvent::raised() const {
    pollfd item{event_.get(), POLLIN, 0};
    return poll(&item, 1, 0) > 0;
}

ReaderWatch::ReaderWatch(const std::string& path) : events_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (!events_ || inotify_add_watch(events_.get(), path.c_str(), IN_CLOSE_NOWRITE) < 0)
        events_.reset();
}

void ReaderWatch::forget() {
    alignas(inotify_event) std::array<char, 4096> events{};
    while (events_ && (::read(events_.get(), events.data(), events.size()) > 0 || errno == EINTR)) {
    }
}

bool PipeWaiter::peer_left() const {
    std::array<pollfd, 2> items{{{peer_, 0, 0}, {leave_events_, POLLIN, 0}}};
    return poll(items.data(), items.size(), 0) > 0;
}

int PipeWaiter::wait(int fd, short events, Milliseconds limit) const {
    const auto end = steady_clock::now() + limit;
    while (true) {
        std::array<pollfd, 4> items{
            {{fd, events, 0}, {stop_.descriptor(), POLLIN, 0}, {peer_, 0, 0}, {leave_events_, POLLIN, 0}}};
        const int count = poll(items.data(), items.size(), static_cast<int>(left_until(end).count()));
        if (count < 0 && errno != EINTR)
            return errno;
        if (count < 0)
            continue;
        if (items[1].revents != 0)
            return ECANCELED;
        if (items[2].revents != 0 || items[3].revents != 0)
            return ECONNRESET;
        if (items[0].revents != 0)
            return 0;
        if (steady_clock::now() >= end)
            return ETIMEDOUT;
    }
}

bool make_fifo(const std::string& path, std::string& why) {
    if (mkfifo(path.c_str(), S_IRUSR | S_IWUSR) != 0 && errno != EEXIST) {
        why = path + ": " + error_text(errno);
        return false;
    }
    FileDescriptor fifo;
    const int error = open_fifo(path, O_RDONLY | O_NONBLOCK, fifo);
    if (error != 0)
        why = path + (error == EINVAL || error == ELOOP ? " is there and is no FIFO of this user"
                                                        : std::string(": ") + error_text(error));
    return error == 0;
}

int open_fifo(const std::string& path, int flags, FileDescriptor& fifo) {
    fifo.reset(::open(path.c_str(), flags | O_NOFOLLOW | O_CLOEXEC));
    if (!fifo)
        return errno;
    struct stat status {};
    if (fstat(fifo.get(), &status) == 0 && S_ISFIFO(status.st_mode) && status.st_uid == geteuid())
        return 0;
    fifo.reset();
    return EINVAL;
}

int open_fifo_writer(const std::string& path, const PipeWaiter& waiter, Milliseconds limit,
                     FileDescriptor& fifo) {
    const auto end = steady_clock::now() + limit;
    Milliseconds pause = kFirstRetry;
    while (true) {
        const int error = open_fifo(path, O_WRONLY | O_NONBLOCK, fifo);
        if (error != ENXIO && error != EINTR)
            return error;
        if (steady_clock::now() >= end)
            return ETIMEDOUT;
        if (const int waited = waiter.wait(-1, 0, pause); waited != ETIMEDOUT)
            return waited;
        pause = std::min(pause * 2, kSlowestRetry);
    }
}

int read_bytes(int fd, const PipeWaiter& waiter, Milliseconds limit, char* data, std::size_t size) {
    while (size > 0) {
        // The wait comes first: before anyone has opened the write end, a read would tell the end of the
        // data.
        if (const int error = waiter.wait(fd, POLLIN, limit); error != 0)
            return error;
        const ssize_t count = ::read(fd, data, size);
        if (count == 0)
            return EPIPE;
        if (count > 0) {
            data += count;
            size -= static_cast<std::size_t>(count);
        } else if (errno != EAGAIN && errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

std::uint32_t frame_length(const char* bytes) {
    std::uint32_t length = 0;
    for (std::size_t i = kFrameHeader; i-- > 0;)
        length = length << 8U | static_cast<unsigned char>(bytes[i]);
    return length;
}

int read_frame(int fd, const PipeWaiter& waiter, Milliseconds limit, std::size_t longest, std::string& body) {
    body.clear();
    std::array<char, kFrameHeader> header{};
    if (const int error = read_bytes(fd, waiter, limit, header.data(), header.size()); error != 0)
        return error;
    std::size_t missing = frame_length(header.data());
    if (missing > longest)
        return EMSGSIZE;
    while (missing > 0) {
        const std::size_t step = std::min(missing, kReadStep);
        const std::size_t have = body.size();
        body.resize(have + step);
        if (const int error = read_bytes(fd, waiter, limit, body.data() + have, step); error != 0)
            return error;
        missing -= step;
    }
    return 0;
}

int write_frame(int fd, const PipeWaiter& waiter, Milliseconds limit, std::string_view body,
                std::size_t piece) {
    std::string frame;
    const auto length = static_cast<std::uint32_t>(body.size());
    for (std::size_t i = 0; i < kFrameHeader; ++i)
        frame += static_cast<char>(length >> (8 * i) & 0xFFU);
    frame.append(body);
    std::string_view rest = frame;
    const std::size_t step = piece == 0 ? rest.size() : piece;
    while (!rest.empty()) {
        if (const int error = write_piece(fd, waiter, limit, rest.substr(0, step)); error != 0)
            return error;
        rest.remove_prefix(std::min(step, rest.size()));
        if (piece != 0)
            await_drained(fd, waiter);
    }
    return 0;
}

}  // namespace relay_hub::engine
