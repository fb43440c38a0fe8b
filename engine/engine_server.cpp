#include "engine/engine_server.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "base/diagnostics.h"
#include "engine/wire_text.h"

namespace relay_hub::engine {
namespace {

constexpr Milliseconds kClientLimit{3000};
constexpr Milliseconds kOpenLimit{2000};
constexpr Milliseconds kPartingLimit{1000};
constexpr std::size_t kLongestRequest = 256UL * 1024 * 1024;
constexpr Milliseconds kFirstPause{1};
constexpr Milliseconds kSlowestPause{20};
constexpr int kWakePause = 5;
// More than a pipe holds by itself is worth asking for more room.
constexpr std::size_t kUsualCapacity = 65536;
constexpr int kPipeCapacity = 1024 * 1024;
constexpr std::size_t kLongestTracedText = 200;

// What a client wrote beyond its request would be taken for the next one's.
void drain(int in) {
    std::array<char, 4096> rest{};
    while (true) {
        const ssize_t count = ::read(in, rest.data(), rest.size());
        if (count <= 0 && errno != EINTR)
            return;
    }
}

}  // namespace

EngineServer::EngineServer(ServerSettings settings, RequestHandlers& handlers, FrontEndLink& front_end,
                           StopEvent& stop)
    : settings_(std::move(settings)),
      in_path_(settings_.base + "_IN"),
      out_path_(settings_.base + "_OUT"),
      handlers_(handlers),
      front_end_(front_end),
      stop_(stop) {}

EngineServer::~EngineServer() {
    if (!owns_pipes_)
        return;
    for (const std::string& path : {in_path_, out_path_}) {
        if (unlink(path.c_str()) != 0 && errno != ENOENT)
            report_error(RELAY_HUB_HERE, errno, path);
    }
}

bool EngineServer::create_pipes(std::string& why) {
    if (!make_fifo(in_path_, why) || !make_fifo(out_path_, why))
        return false;
    pipe_.reset(open(in_path_.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!pipe_) {
        why = in_path_ + ": " + error_text(errno);
        return false;
    }
    clients_.emplace(out_path_);
    owns_pipes_ = true;
    return true;
}

bool EngineServer::run() {
    bool lost = false;
    while (!lost && !stop_.raised()) {
        FileDescriptor in;
        int error = keeper_ ? 0 : open_fifo(in_path_, O_RDONLY | O_NONBLOCK, keeper_);
        // Blocks until a client opens its end; stop() opens it too.
        if (error == 0)
            error = open_fifo(in_path_, O_RDONLY, in);
        if (error == 0 && fcntl(in.get(), F_SETFL, O_NONBLOCK) != 0)
            error = errno;
        lost = error != 0 && error != EINTR;
        if (lost)
            report_error(RELAY_HUB_HERE, error, in_path_);
        if (error != 0 || stop_.raised())
            continue;
        std::string body;
        error = read_request(in.get(), body);
        if (error == EPIPE)
            continue;
        drain(in.get());
        in.reset();
        keeper_.reset();
        if (error == 0 && body.starts_with(kCommandMarker))
            answer(body.substr(kCommandMarker.size()));
        else if (error != 0 && error != ECANCELED)
            report_error(RELAY_HUB_HERE, error, in_path_);
        part_from_client();
    }
    ended_ = true;
    stop_.raise();
    return !lost;
}

void EngineServer::stop() {
    stop_.raise();
    // By descriptor, so that run() is reached even if somebody took the name away.
    const std::string pipe = "/proc/self/fd/" + std::to_string(pipe_.get());
    while (!ended_) {
        const FileDescriptor wake(open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        (void)poll(nullptr, 0, kWakePause);
    }
}

int EngineServer::read_request(int in, std::string& body) {
    const PipeWaiter waiter(stop_);
    if (const int error = out_ ? 0 : open_answer_end(in, waiter); error != 0)
        return error;
    const int error = read_frame(in, waiter, kClientLimit, kLongestRequest, body);
    return error == EPIPE && !body.empty() ? EPROTO : error;
}

// There is no event for a reader's coming; but most clients write only then, and their bytes are one.
int EngineServer::open_answer_end(int in, const PipeWaiter& waiter) {
    const auto end = std::chrono::steady_clock::now() + kOpenLimit;
    Milliseconds pause = kFirstPause;
    while (true) {
        if (const int error = open_fifo(out_path_, O_WRONLY | O_NONBLOCK, out_); error != ENXIO)
            return error;
        pollfd client{in, POLLIN, 0};
        (void)poll(&client, 1, 0);
        const bool has_written = (client.revents & POLLIN) != 0;
        if (!has_written && (client.revents & POLLHUP) != 0)
            return EPIPE;
        if (std::chrono::steady_clock::now() >= end)
            return ETIMEDOUT;
        const int waited = waiter.wait(has_written ? -1 : in, POLLIN, pause);
        if (waited != 0 && waited != ETIMEDOUT)
            return waited;
        pause = std::min(pause * 2, kSlowestPause);
    }
}

// A client that waits for an answer hears the end of it by our closing; it must have heard before the end is
// open again.
void EngineServer::part_from_client() {
    out_.reset();
    const PipeWaiter waiter(stop_);
    (void)waiter.wait(clients_->descriptor(), POLLIN,
                      clients_->descriptor() >= 0 ? kPartingLimit : kSlowestPause);
}

void EngineServer::answer(const std::string& request) {
    if (!settings_.quiet)
        std::printf("request %s\n", in_one_line(request, kLongestTracedText).c_str());
    // Whoever left until now was an earlier client: this one sent its request after opening its end.
    clients_->forget();
    PipeWaiter waiter(stop_);
    waiter.set_peer(out_.get(), clients_->descriptor());
    front_end_.set_client(out_.get(), clients_->descriptor());
    const Reply reply = handlers_.handle(request);
    front_end_.set_client(-1, -1);
    if (reply.ends_engine)
        stop_.raise();
    if (reply.is_list && settings_.list_delay > Milliseconds(0))
        (void)waiter.wait(-1, 0, settings_.list_delay);
    // Somebody may have opened the end meanwhile, and must not get the answer of a client that gave up.
    if (reply.text.empty() || waiter.peer_left())
        return;
    const std::string_view text = std::string_view(reply.text).substr(0, kLongestAnswer);
    if (text.size() > kUsualCapacity)
        (void)fcntl(out_.get(), F_SETPIPE_SZ, kPipeCapacity);
    const int error = write_frame(out_.get(), waiter, kClientLimit, text, settings_.piece);
    if (error != 0 && error != EPIPE && error != ECONNRESET && error != ECANCELED)
        report_error(RELAY_HUB_HERE, error, out_path_);
}

}  // namespace relay_hub::engine
