#include "engine/engine_server.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "engine/wire_text.h"
#include "name_pipe/diagnostics.h"

namespace relay_hub::engine {
namespace {

constexpr Milliseconds kClientLimit{10000};
constexpr Milliseconds kOpenLimit{2000};
constexpr std::size_t kLongestRequest = 256UL * 1024 * 1024;
constexpr int kWakePause = 5;
constexpr int kPipeCapacity = 1024 * 1024;
constexpr std::size_t kLongestTracedText = 200;

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
    if (const int error = open_fifo(in_path_, O_RDONLY | O_NONBLOCK, keeper_); error != 0) {
        why = in_path_ + ": " + error_text(error);
        return false;
    }
    drain(keeper_.get());
    clients_.emplace(out_path_);
    owns_pipes_ = true;
    return true;
}

bool EngineServer::run() {
    while (!stop_.raised()) {
        FileDescriptor in;
        // Blocks until a client opens its end; stop() opens it too.
        int error = open_fifo(in_path_, O_RDONLY, in);
        if (stop_.raised())
            break;
        if (error == EINTR)
            continue;
        if (error == 0 && fcntl(in.get(), F_SETFL, O_NONBLOCK) != 0)
            error = errno;
        if (error != 0) {
            report_error(RELAY_HUB_HERE, error, in_path_);
            ended_ = true;
            stop_.raise();
            return false;
        }
        serve_client(in.get());
    }
    ended_ = true;
    return true;
}

void EngineServer::stop() {
    stop_.raise();
    // By descriptor, so that run() is reached even if somebody took the name away.
    const std::string pipe = "/proc/self/fd/" + std::to_string(keeper_.get());
    while (!ended_) {
        const FileDescriptor wake(open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        (void)poll(nullptr, 0, kWakePause);
    }
}

void EngineServer::serve_client(int in) {
    const PipeWaiter waiter(stop_);
    FileDescriptor out;
    int error = open_fifo_writer(out_path_, waiter, kOpenLimit, out);
    std::string body;
    if (error == 0) {
        (void)fcntl(out.get(), F_SETPIPE_SZ, kPipeCapacity);
        error = read_frame(in, waiter, kClientLimit, kLongestRequest, body);
    }
    if (error == 0 && body.starts_with(kCommandMarker))
        return answer(out.get(), body.substr(kCommandMarker.size()));
    // A client that left without a word is no fault.
    if (error != 0 && error != EPIPE && error != ECANCELED)
        report_error(RELAY_HUB_HERE, error, in_path_);
    drain(in);
}

void EngineServer::answer(int out, const std::string& request) {
    if (!settings_.quiet)
        std::printf("request %s\n", presentable(request, kLongestTracedText).c_str());
    // Whoever left until now was an earlier client: this one sent its request after opening its end.
    clients_->forget();
    PipeWaiter waiter(stop_);
    waiter.set_peer(out, clients_->descriptor());
    front_end_.set_client(out, clients_->descriptor());
    const Reply reply = handlers_.handle(request);
    front_end_.set_client(-1, -1);
    if (reply.ends_engine)
        stop_.raise();
    if (reply.is_list && settings_.list_delay > Milliseconds(0))
        (void)waiter.wait(-1, 0, settings_.list_delay);
    // The next client, which may be there already, must not get the answer of one that gave up.
    if (reply.text.empty() || waiter.peer_left())
        return;
    const std::string_view text = std::string_view(reply.text).substr(0, kLongestAnswer);
    const int error = write_frame(out, waiter, kClientLimit, text, settings_.piece);
    if (error != 0 && error != EPIPE && error != ECONNRESET && error != ECANCELED)
        report_error(RELAY_HUB_HERE, error, out_path_);
}

void EngineServer::drain(int in) const {
    std::array<char, 4096> rest{};
    while (true) {
        const ssize_t count = ::read(in, rest.data(), rest.size());
        if (count <= 0 && errno != EINTR)
            return;
    }
}

}  // namespace relay_hub::engine
