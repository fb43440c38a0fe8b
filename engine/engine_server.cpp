#include "engine/engine_server.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <new>
#include <utility>

#include "base/diagnostics.h"
#include "base/frame.h"
#include "base/plain_text.h"
#include "base/translated_text.h"
#include "name_pipe/name_pipe_base.h"
#include "name_pipe/taken_place.h"

namespace relay_hub::engine {
namespace {

using std::chrono::milliseconds;

constexpr mode_t kPipeMode = 0600;
constexpr milliseconds kClientLimit{3000};
constexpr milliseconds kOpenLimit{2000};
constexpr milliseconds kPartingLimit{1000};
constexpr std::size_t kLongestRequest = 64UL * 1024 * 1024;
constexpr milliseconds kFirstPause{1};
constexpr milliseconds kSlowestPause{20};
constexpr int kWakePause = 5;
// More than a pipe holds by itself is worth asking for more room.
constexpr std::size_t kUsualCapacity = 65536;
constexpr std::size_t kLongestTracedText = 200;
constexpr milliseconds kDrainLimit{100};

// Gives the reader the time to take a piece by itself.
void await_drained(int fd) {
    const Deadline end = after(kDrainLimit);
    int queued = 0;
    while (ioctl(fd, FIONREAD, &queued) == 0 && queued > 0 && Clock::now() < *end)
        if (!interruptible_sleep(kFirstPause))
            return;
}

std::string reason_of_failure(const std::string& base, const std::string& path, int error) {
    if (std::string taken = taken_place(base); !taken.empty())
        return taken;
    if (error == EINVAL || error == ELOOP)
        return fill_translated("IDS_MSG_PLACE_IN_THE_WAY", {path});
    return path + ": " + error_text(error);
}

}  // namespace

EngineServer::EngineServer(ServerSettings settings, HandlersFactory make_handlers, FrontEndLink& front_end,
                           StopToken& stop)
    : settings_(std::move(settings)),
      in_path_(settings_.base + "_IN"),
      out_path_(settings_.base + "_OUT"),
      requests_(std::move(make_handlers), front_end, stop),
      front_end_(front_end),
      stop_(stop) {}

void EngineServer::remove_pipes() {
    if (!owns_pipes_)
        return;
    for (const std::string& path : {in_path_, out_path_}) {
        if (unlink(path.c_str()) != 0 && errno != ENOENT)
            report_error(RELAY_HUB_HERE, errno, path);
    }
}

bool EngineServer::create_pipes(std::string& why) {
    for (const std::string& path : {in_path_, out_path_}) {
        if (!make_fifo(path, kPipeMode)) {
            why = reason_of_failure(settings_.base, path, errno);
            return false;
        }
        // One left behind by an older engine may be open to everybody.
        make_fifo_private(path);
    }
    pipe_.reset(open(in_path_.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!pipe_) {
        why = in_path_ + ": " + error_text(errno);
        return false;
    }
    clients_ = watch_fifo(out_path_, IN_CLOSE_NOWRITE);
    owns_pipes_ = true;
    return true;
}

bool EngineServer::run() {
    const StopScope scope(stop_);
    bool pipe_is_there = true;
    while (pipe_is_there && !stop_.stopped())
        pipe_is_there = serve_safely();
    ended_ = true;
    stop_.stop();
    return pipe_is_there;
}

// A request that takes more memory than there is fails; the service goes on.
bool EngineServer::serve_safely() {
    try {
        return serve_client();
    } catch (const std::exception& failure) {
        report(RELAY_HUB_HERE, "a request could not be served:", failure.what());
        keeper_.reset();
        out_.reset();
        return true;
    }
}

bool EngineServer::serve_client() {
    FileDescriptor in = await_client();
    if (!in)
        return false;
    if (stop_.stopped())
        return true;
    std::string request;
    const Reading reading = read_request(in.get(), request);
    if (reading == Reading::client_left)
        return true;
    // What a client wrote beyond its request would be taken for the next one's.
    discard_waiting(in.get(), kClientLimit);
    in.reset();
    keeper_.reset();
    if (reading == Reading::complete && request.starts_with(kCommandMarker))
        answer(request.substr(kCommandMarker.size()));
    // A client that waits for an answer learns of the round's end by this; it must have learnt before the
    // next round opens the end again.
    out_.reset();
    await_departure();
    return true;
}

FileDescriptor EngineServer::await_client() {
    if (!keeper_)
        keeper_ = open_fifo(in_path_, O_RDONLY | O_NONBLOCK);
    FileDescriptor in;
    if (keeper_)
        in = open_fifo(in_path_, O_RDONLY);
    if (!in)
        report_error(RELAY_HUB_HERE, errno, in_path_);
    return in;
}

bool EngineServer::stop(std::optional<milliseconds> limit) {
    stop_.stop();
    // By descriptor, so that run() is reached even if somebody took the name away.
    const std::string pipe = path_of_descriptor(pipe_.get());
    const Deadline end = limit ? after(*limit) : std::nullopt;
    while (!ended_) {
        if (end && Clock::now() >= *end)
            return false;
        const FileDescriptor wake(open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        (void)poll(nullptr, 0, kWakePause);
    }
    return !requests_.left_any_behind();
}

EngineServer::Reading EngineServer::read_request(int in, std::string& body) {
    if (const Reading opened = out_ ? Reading::complete : open_answer_end(in); opened != Reading::complete)
        return opened;
    // A reader that left before the request came was an earlier client: this one sends it after opening its
    // end.
    (void)wait_for(in, POLLIN, after(kClientLimit));
    discard_waiting(clients_.get(), kClientLimit);
    FrameProgress progress;
    const auto collect = [&](std::string_view piece) {
        body += piece;
        return progress.announced() <= kLongestRequest;
    };
    ReadEnd end = ReadEnd::failed;
    try {
        end = read_frame(in, progress, {kClientLimit, kClientLimit}, collect);
    } catch (const std::bad_alloc&) {
        report(RELAY_HUB_HERE,
               "there is no memory for a request of this many bytes:", std::to_string(progress.announced()));
    }
    if (end == ReadEnd::enough)
        report(RELAY_HUB_HERE, "a request is longer than this engine takes");
    if (end == ReadEnd::closed && body.empty())
        return Reading::client_left;
    return end == ReadEnd::complete ? Reading::complete : Reading::failed;
}

// There is no event for a reader's coming; but most clients write only then, and their bytes are one.
EngineServer::Reading EngineServer::open_answer_end(int in) {
    const auto end = Clock::now() + kOpenLimit;
    milliseconds pause = kFirstPause;
    while (true) {
        out_ = open_fifo(out_path_, O_WRONLY | O_NONBLOCK);
        if (out_)
            return Reading::complete;
        if (errno != ENXIO) {
            report_error(RELAY_HUB_HERE, errno, out_path_);
            return Reading::failed;
        }
        pollfd client{in, POLLIN, 0};
        (void)poll(&client, 1, 0);
        const bool has_written = (client.revents & POLLIN) != 0;
        if (!has_written && (client.revents & POLLHUP) != 0)
            return Reading::client_left;
        if (Clock::now() >= end || wait_for(has_written ? -1 : in, POLLIN, after(pause)) == WaitEnd::stopped)
            return Reading::failed;
        pause = std::min(pause * 2, kSlowestPause);
    }
}

void EngineServer::await_departure() {
    (void)wait_for(clients_.get(), POLLIN, after(clients_ ? kPartingLimit : kSlowestPause));
}

void EngineServer::answer(std::string request) {
    if (!settings_.quiet)
        std::printf("request %s\n", in_one_line(request, kLongestTracedText).c_str());
    front_end_.make_pipes_private();
    // Nothing is done for a client that has left, and it is neither asked nor sent anything.
    const PeerScope for_this_client(out_.get(), clients_.get());
    const Reply reply = requests_.handle(std::move(request));
    if (reply.ends_engine)
        stop_.stop();
    if (reply.is_list && settings_.list_delay > milliseconds(0))
        (void)interruptible_sleep(settings_.list_delay);
    send_answer(std::string_view(reply.text).substr(0, kLongestAnswer));
}

void EngineServer::send_answer(std::string_view text) {
    // Somebody may have opened the end meanwhile, and must not get the answer of a client that gave up.
    if (text.empty() || peer_has_left())
        return;
    if (text.size() > kUsualCapacity)
        raise_capacity(out_.get());
    const FrameHeader header = frame_header(static_cast<std::uint32_t>(text.size()));
    const std::string frame = std::string(header.data(), header.size()).append(text);
    std::string_view left = frame;
    const std::size_t step = settings_.piece == 0 ? left.size() : settings_.piece;
    WriteEnd end = WriteEnd::done;
    while (!left.empty() && end == WriteEnd::done) {
        end = write_bytes(out_.get(), left.substr(0, step), kClientLimit);
        left.remove_prefix(std::min(step, left.size()));
        if (settings_.piece != 0)
            await_drained(out_.get());
    }
    if (end == WriteEnd::failed || end == WriteEnd::timed_out)
        report(RELAY_HUB_HERE, "an answer could not be written to", out_path_);
}

}  // namespace relay_hub::engine
