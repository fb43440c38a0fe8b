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

namespace relay_hub {
namespace {

constexpr Milliseconds kClientLimit{10000};
constexpr Milliseconds kOpenLimit{2000};
constexpr std::size_t kLongestRequest = 256UL * 1024 * 1024;
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
    owns_pipes_ = true;
    return true;
}

void EngineServer::run() {
    while (!stop_.raised()) {
        FileDescriptor in;
        // Blocks until a client opens its end; stop() opens it too.
        const int error = open_fifo(in_path_, O_RDONLY, in);
        if (stop_.raised())
            break;
        if (error == EINTR)
            continue;
        if (error != 0 || fcntl(in.get(), F_SETFL, O_NONBLOCK) != 0) {
            report_error(RELAY_HUB_HERE, error != 0 ? error : errno, in_path_);
            break;
        }
        serve_client(in.get());
    }
    ended_ = true;
}

void EngineServer::stop() {
    stop_.raise();
    while (!ended_) {
        FileDescriptor wake;
        (void)open_fifo(in_path_, O_WRONLY | O_NONBLOCK, wake);
        (void)poll(nullptr, 0, 5);
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
        return answer(in, out.get(), body.substr(kCommandMarker.size()));
    // A client that left without a word is no fault.
    if (error != 0 && error != EPIPE && error != ECANCELED)
        report_error(RELAY_HUB_HERE, error, in_path_);
    drain(in);
}

void EngineServer::answer(int in, int out, const std::string& request) {
    if (!settings_.quiet)
        std::printf("request %s\n", presentable(request, kLongestTracedText).c_str());
    PipeWaiter waiter(stop_);
    waiter.set_peer(out);
    front_end_.set_client(out);
    const Reply reply = handlers_.handle(request);
    front_end_.set_client(-1);
    if (reply.ends_engine)
        stop_.raise();
    if (reply.text.empty())
        return;
    if (reply.is_list && settings_.list_delay > Milliseconds(0))
        (void)waiter.wait(-1, 0, settings_.list_delay);
    // Who asked may have given up, and the next client may be waiting already: it must not get this answer.
    pollfd next{in, POLLIN, 0};
    if (waiter.peer_left() || (poll(&next, 1, 0) > 0 && (next.revents & POLLIN) != 0))
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

}  // namespace relay_hub
