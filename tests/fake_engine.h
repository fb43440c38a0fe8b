#pragma once
// A link engine for tests: serves one command channel in a folder of its own and keeps the raw frames that
// it received; and the front end's listener, called as an engine calls it.
#include <ctime>
#include <mutex>
#include <optional>

#include "base/fifo.h"
#include "base/frame.h"
#include "base/stop_token.h"
#include "link_engine/engine_callbacks.h"
#include "link_engine/request_builders.h"
#include "name_pipe/name_pipe_base.h"
#include "unit/name_pipe/support.h"

namespace test {

inline std::string command_body(const std::string& text) {
    return kMarker + text;
}

// Of processor time, by a clock of this thread or process.
inline double used_seconds(clockid_t clock) {
    timespec used = {};
    clock_gettime(clock, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

class FakeEngine {
  public:
    // Gives the answer to a request's text; nullopt stays silent. Runs on the engine's thread.
    using Serve = std::function<std::optional<std::string>(const std::string& request)>;
    // The front end's command channel leads to this engine for the engine's life.
    explicit FakeEngine(Serve serve)
        : serve_(std::move(serve)), in_(served(folder_.at("c_IN"))), out_(served(folder_.at("c_OUT"))) {
        relay_hub::set_command_pipe_for_tests(folder_.at("c"));
        thread_ = std::thread([this] { run(); });
    }
    ~FakeEngine() {
        stop_.stop();
        thread_.join();
        relay_hub::set_command_pipe_for_tests({});
    }
    std::vector<std::string> frames() const {
        const std::lock_guard lock(mutex_);
        return frames_;
    }
    // The requests so far that hold the command, without their headers.
    std::vector<std::string> requests(const std::string& command) const {
        std::vector<std::string> found;
        for (const std::string& one : frames())
            if (one.find(command) != std::string::npos)
                found.push_back(one.substr(10));
        return found;
    }

    std::string last_request(const std::string& command) const {
        const std::vector<std::string> found = requests(command);
        return found.empty() ? std::string() : found.back();
    }

  private:
    static relay_hub::FileDescriptor served(const std::string& path) {
        relay_hub::make_fifo(path, 0600);
        return relay_hub::open_fifo(path, O_RDWR);
    }
    bool read_body(std::string& body) const {
        relay_hub::FrameProgress progress;
        const auto collect = [&body](std::string_view piece) { return body += piece, true; };
        return read_frame(in_.get(), progress, {{}, 10s}, collect) == relay_hub::ReadEnd::complete;
    }
    void run() {
        const relay_hub::StopScope scope(stop_);
        for (std::string body; read_body(body); body.clear()) {
            {
                const std::lock_guard lock(mutex_);
                frames_.push_back(frame(body));
            }
            if (const auto answer = serve_(body.substr(6)))
                relay_hub::write_bytes(out_.get(), frame(*answer), 10s);
        }
    }

    Sandbox folder_;
    Serve serve_;
    relay_hub::FileDescriptor in_;
    relay_hub::FileDescriptor out_;
    relay_hub::StopToken stop_;
    mutable std::mutex mutex_;
    std::vector<std::string> frames_;  // guarded by mutex_
    std::thread thread_;
};

// The front end's listener on a channel of its own, with ServiceProvider behind it.
class Listener {
  public:
    static constexpr unsigned int kAnswerSize = 4096;
    Listener() {
        CNamePipeBase::SetupParam(base_.c_str(), kAnswerSize, kAnswerSize);
        CNamePipeBase::SetServiceProvider(ServiceProvider);
        service_.ListenForService();
        wait_until([this] { return exists(base_ + "_OUT"); });
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() { service_.ExitListenService(); }
    // Sends a body as an engine does, and returns the body that comes back.
    [[nodiscard]] std::string exchange(const std::string& body) const {
        Peer engine(base_);
        engine.as_client().request(frame(body));
        return engine.take_answer();
    }
    [[nodiscard]] std::string call_back(const std::string& text) const {
        const std::string answer = exchange(command_body(text));
        return answer.substr(0, answer.find('\0'));
    }

  private:
    Sandbox folder_;
    std::string base_ = folder_.at("notify");
    CNamePipeBase service_;
};

}  // namespace test
