#include "fake_engine.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "link_engine/engine_callbacks.h"
#include "link_engine/request_builders.h"
#include "name_pipe/name_pipe_base.h"

namespace relay_hub::test {
namespace {

constexpr std::size_t kHeaderSize = 4;
constexpr std::size_t kMarkerSize = 6;

std::unique_ptr<CNamePipeBase> listener_object;

FileDescriptor make_fifo(const std::string& path) {
    if (::mkfifo(path.c_str(), 0600) != 0)
        throw std::runtime_error("mkfifo " + path);
    return FileDescriptor(::open(path.c_str(), O_RDWR | O_CLOEXEC));
}

std::uint32_t length_in(const std::string& header) {
    std::uint32_t length = 0;
    std::memcpy(&length, header.data(), sizeof length);
    return length;
}

}  // namespace

SandboxFolder::SandboxFolder() {
    std::string name = "/tmp/relay-hub-test-XXXXXX";
    if (!::mkdtemp(name.data()))
        throw std::runtime_error("mkdtemp");
    folder_ = name;
}

SandboxFolder::~SandboxFolder() {
    std::filesystem::remove_all(folder_);
}

bool wait_for(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::string frame_of(const std::string& body) {
    const auto length = static_cast<std::uint32_t>(body.size());
    std::string frame(kHeaderSize, '\0');
    std::memcpy(frame.data(), &length, sizeof length);
    return frame + body;
}

std::string command_body(const std::string& text) {
    return std::string("\xC9\xBB\x29\xF9\x00\x01", kMarkerSize) + text;
}

FakeEngine::FakeEngine(Serve serve)
    : serve_(std::move(serve)),
      in_(make_fifo(folder_.path("command_IN"))),
      out_(make_fifo(folder_.path("command_OUT"))) {
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

bool FakeEngine::read_exactly(std::string& bytes, std::size_t size) const {
    while (bytes.size() < size) {
        pollfd waits[] = {{in_.get(), POLLIN, 0}, {stop_.descriptor(), POLLIN, 0}};
        ::poll(waits, 2, -1);
        if (stop_.abandoned())
            return false;
        std::string piece(size - bytes.size(), '\0');
        const ssize_t got = ::read(in_.get(), piece.data(), piece.size());
        if (got > 0)
            bytes.append(piece, 0, static_cast<std::size_t>(got));
    }
    return true;
}

void FakeEngine::run() {
    for (;;) {
        std::string frame;
        if (!read_exactly(frame, kHeaderSize) || !read_exactly(frame, kHeaderSize + length_in(frame)))
            return;
        {
            const std::lock_guard lock(mutex_);
            frames_.push_back(frame);
        }
        if (const auto answer = serve_(frame.substr(kHeaderSize + kMarkerSize))) {
            const std::string bytes = frame_of(*answer);
            write_all(out_.get(), bytes.data(), bytes.size());
        }
    }
}

Listener::Listener() : base_(folder_.path("notify")) {
    CNamePipeBase::SetupParam(base_.c_str(), kAnswerSize, kAnswerSize);
    CNamePipeBase::SetServiceProvider(ServiceProvider);
    listener_object = std::make_unique<CNamePipeBase>();
    listener_object->ListenForService();
    wait_for([this] { return ::access((base_ + "_OUT").c_str(), F_OK) == 0; });
}

Listener::~Listener() {
    listener_object->ExitListenService();
    listener_object.reset();
}

std::string Listener::exchange(const std::string& frame) const {
    const FileDescriptor in(::open((base_ + "_IN").c_str(), O_WRONLY | O_CLOEXEC));
    const FileDescriptor out(::open((base_ + "_OUT").c_str(), O_RDONLY | O_CLOEXEC));
    write_all(in.get(), frame.data(), frame.size());
    std::string answer;
    std::string piece(65536, '\0');
    for (ssize_t got = 0; (got = ::read(out.get(), piece.data(), piece.size())) > 0;)
        answer.append(piece, 0, static_cast<std::size_t>(got));
    return answer;
}

std::string Listener::call_back(const std::string& text) const {
    const std::string answer = exchange(frame_of(command_body(text)));
    return answer.size() <= kHeaderSize ? std::string() : std::string(answer.c_str() + kHeaderSize);
}

}  // namespace relay_hub::test
