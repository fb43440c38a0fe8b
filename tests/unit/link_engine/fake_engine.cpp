#include "fake_engine.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <stdexcept>

#include "link_engine/engine_callbacks.h"
#include "link_engine/request_builders.h"
#include "name_pipe/fifo.h"
#include "name_pipe/frame.h"

namespace relay_hub::test {
namespace {

constexpr std::chrono::seconds kPatience{10};
constexpr std::size_t kMarkerSize = 6;

FileDescriptor make_served_fifo(const std::string& path) {
    if (!make_fifo(path))
        throw std::runtime_error("mkfifo " + path);
    return open_fifo(path, O_RDWR);
}

// The body of the next frame; nullopt when the wait was given up or the other side went away.
std::optional<std::string> read_body(int fd, std::optional<std::chrono::milliseconds> first) {
    FrameProgress progress;
    std::string body;
    const auto collect = [&body](std::string_view piece) {
        body += piece;
        return true;
    };
    const ReadEnd end = read_frame(fd, progress, {first, kPatience}, collect);
    return end == ReadEnd::complete ? std::optional(body) : std::nullopt;
}

}  // namespace

SandboxFolder::SandboxFolder() {
    if (!::mkdtemp(folder_.data()))
        throw std::runtime_error("mkdtemp " + folder_);
}

bool wait_for(const std::function<bool()>& done) {
    const auto end = Clock::now() + kPatience;
    while (!done()) {
        if (Clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::string frame_of(const std::string& body) {
    std::string frame;
    for (const unsigned int shift : {0U, 8U, 16U, 24U})
        frame += static_cast<char>(body.size() >> shift);
    return frame + body;
}

std::string command_body(const std::string& text) {
    return std::string("\xC9\xBB\x29\xF9\x00\x01", kMarkerSize) + text;
}

FakeEngine::FakeEngine(Serve serve)
    : serve_(std::move(serve)),
      in_(make_served_fifo(folder_.path("command_IN"))),
      out_(make_served_fifo(folder_.path("command_OUT"))) {
    set_command_pipe_for_tests(folder_.path("command"));
    thread_ = std::thread([this] { run(); });
}

FakeEngine::~FakeEngine() {
    stop_.abandon();
    thread_.join();
    set_command_pipe_for_tests({});
}

std::vector<std::string> FakeEngine::frames() {
    const std::lock_guard lock(mutex_);
    return frames_;
}

void FakeEngine::run() {
    const AbandonScope scope(stop_);
    while (const auto body = read_body(in_.get(), {})) {
        {
            const std::lock_guard lock(mutex_);
            frames_.push_back(frame_of(*body));
        }
        if (const auto answer = serve_(body->substr(kMarkerSize)))
            write_bytes(out_.get(), frame_of(*answer), kPatience);
    }
}

Listener::Listener() : base_(folder_.path("notify")) {
    CNamePipeBase::SetupParam(base_.c_str(), kAnswerSize, kAnswerSize);
    CNamePipeBase::SetServiceProvider(ServiceProvider);
    service_.ListenForService();
    wait_for([this] { return ::access((base_ + "_OUT").c_str(), F_OK) == 0; });
}

std::string Listener::exchange(const std::string& frame) const {
    const FileDescriptor in(::open((base_ + "_IN").c_str(), O_WRONLY | O_CLOEXEC));
    const FileDescriptor out = open_fifo(base_ + "_OUT", O_RDONLY);
    write_all(in.get(), frame.data(), frame.size());
    const auto body = read_body(out.get(), kPatience);
    return body ? frame_of(*body) : std::string();
}

std::string Listener::call_back(const std::string& text) const {
    const std::string answer = exchange(frame_of(command_body(text)));
    return answer.size() <= kFrameHeaderSize ? std::string() : answer.c_str() + kFrameHeaderSize;
}

}  // namespace relay_hub::test
