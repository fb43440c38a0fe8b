#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <optional>
#include <string>

#include "base/diagnostics.h"
#include "base/fifo.h"
#include "base/frame.h"
#include "name_pipe/name_pipe_base.h"
#include "name_pipe/name_pipe_io.h"

constinit std::atomic<bool> bThreadContinue = false;

namespace {

using relay_hub::FileDescriptor;
using relay_hub::ReadEnd;
using relay_hub::WriteEnd;
using std::chrono::milliseconds;

// How long a client may pause before its round ends.
constexpr milliseconds kClientPause{3000};
// Engines of other accounts write here.
constexpr mode_t kNotifyMode = 0777;
constexpr milliseconds kReopenPause{200};
// How long a client that has its answer takes to leave.
constexpr milliseconds kLeaving{1};
// A body is followed by this many zeros, so that its marker can be looked at whatever its length.
constexpr std::size_t kBodyEnd = 8;

struct Server {
    std::string in_path;
    std::string out_path;
    bool (*on_read)(int fd, void* ctx);
    bool (*on_write)(int fd);
    void* ctx;
};

// The answers' end as writer, without waiting for a reader: while our own short-lived reader is there, the
// open succeeds, and a client that waits for a writer goes on at once.
FileDescriptor open_out(const std::string& path) {
    const FileDescriptor own_reader = relay_hub::open_fifo(path, O_RDWR | O_NONBLOCK);
    if (!own_reader)
        return {};
    FileDescriptor out = relay_hub::open_fifo(path, O_WRONLY | O_NONBLOCK);
    if (out)
        relay_hub::raise_capacity(out.get());
    return out;
}

// A FIFO that cannot be opened is put back where it is missing, after a pause.
void mend(const std::string& path) {
    relay_hub::report_error(RELAY_HUB_HERE, errno, path);
    (void)relay_hub::interruptible_sleep(kReopenPause);
    (void)relay_hub::make_fifo(path, kNotifyMode);
}

// Whether all clients have left within the time, without having sent anything.
bool left_silently(int in, milliseconds time) {
    pollfd watch{in, POLLIN, 0};
    return relay_hub::wait_on({&watch, 1}, relay_hub::after(time)) == relay_hub::WaitEnd::ready &&
           (watch.revents & POLLIN) == 0;
}

struct Ends {
    FileDescriptor in;
    FileDescriptor out;
};

// Waits for the next client that stays, and opens both ends to it. The client before it may still be leaving:
// for that one no answers' end is opened, whose closing the next client would take for its own; and the
// requests' end stays open through the change, so that what the next client has written is not lost.
Ends await_client(const Server& server) {
    Ends ends;
    do {
        ends.out.reset();
        ends.in = relay_hub::open_fifo(server.in_path, O_RDONLY);
        if (!ends.in) {
            mend(server.in_path);
            return {};
        }
        if (server.on_write == nullptr)
            return ends;
        if (left_silently(ends.in.get(), kLeaving))
            continue;
        ends.out = open_out(server.out_path);
        if (!ends.out) {
            mend(server.out_path);
            return {};
        }
        if (!left_silently(ends.in.get(), kClientPause))
            return ends;
    } while (bThreadContinue);
    return {};
}

// False when a step ends the loop.
bool serve_client(const Server& server) {
    Ends ends = await_client(server);
    if (!ends.in)
        return true;
    if (!server.on_read(ends.in.get(), server.ctx))
        return false;
    ends.in.reset();
    return server.on_write == nullptr || server.on_write(ends.out.get());
}

// One client's failure, memory included, is not the end of the service.
bool serve_safely(const Server& server) {
    try {
        return serve_client(server);
    } catch (const std::exception& failure) {
        relay_hub::report(RELAY_HUB_HERE, "a call-back could not be served:", failure.what());
        return true;
    }
}

}  // namespace

bool ListenPipeClient(const char* base, bool (*on_read)(int fd, void* ctx), bool (*on_write)(int fd),
                      void* ctx) {
    if (base == nullptr || on_read == nullptr)
        return false;
    relay_hub::ignore_broken_pipes();
    const Server server{std::string(base) + "_IN", std::string(base) + "_OUT", on_read, on_write, ctx};
    if (!relay_hub::make_fifo(server.in_path, kNotifyMode)) {
        relay_hub::report_error(RELAY_HUB_HERE, errno, server.in_path);
        return false;
    }
    if (on_write == nullptr) {
        (void)::unlink(server.out_path.c_str());
    } else if (!relay_hub::make_fifo(server.out_path, kNotifyMode)) {
        relay_hub::report_error(RELAY_HUB_HERE, errno, server.out_path);
        return false;
    }
    bThreadContinue = true;
    while (serve_safely(server) && !CNamePipeBase::m_bExitFromListenLoop.exchange(false) && bThreadContinue) {
    }
    return true;
}

std::unique_ptr<char[]> ReadPipeData(int fd, unsigned int* count) {
    *count = 0;
    relay_hub::FrameProgress progress;
    std::string body;
    const auto collect = [&](std::string_view piece) {
        if (static_cast<std::int32_t>(progress.announced()) > 0)
            body.append(piece);
        return static_cast<std::int32_t>(progress.announced()) > 0;
    };
    const ReadEnd end = relay_hub::read_frame(fd, progress, {kClientPause, kClientPause}, collect);
    const bool usable = end == ReadEnd::complete || end == ReadEnd::enough || end == ReadEnd::closed;
    if (!usable || !progress.header_complete())
        return nullptr;
    auto result = std::make_unique<char[]>(body.size() + kBodyEnd);
    std::memcpy(result.get(), body.data(), body.size());
    *count = static_cast<unsigned int>(body.size());
    return result;
}

bool WritePipeData(int fd, const char* data, unsigned int size) {
    const relay_hub::FrameHeader header = relay_hub::frame_header(size);
    WriteEnd end = relay_hub::write_bytes(fd, {header.data(), header.size()}, kClientPause);
    if (end == WriteEnd::done)
        end = relay_hub::write_bytes(fd, {data, size}, kClientPause);
    return end == WriteEnd::done || end == WriteEnd::closed;
}
