#pragma once
// Work that may wait for the engine, on a thread of its own with an StopToken bound to it. Window's
// thread, but for the body.
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "base/wait.h"

namespace relay_hub {

class BackgroundWork {
  public:
    BackgroundWork() = default;
    BackgroundWork(const BackgroundWork&) = delete;
    BackgroundWork& operator=(const BackgroundWork&) = delete;
    ~BackgroundWork();

    // Runs body on a new thread. False, after a diagnostic, when the thread cannot be started. Only once the
    // one before has ended.
    bool start(std::function<void()> body);
    [[nodiscard]] bool running() const;
    // Ends the body's waits on pipes and its pauses.
    void abandon();
    // Waits at most limit. True once the body has ended.
    bool wait(std::chrono::milliseconds limit);
    // Abandons, waits at most limit for the body, joins. False when it still runs: its thread is then left to
    // the end of the process.
    bool stop(std::chrono::milliseconds limit);

  private:
    struct Run {
        StopToken token;
        std::mutex mutex;
        std::condition_variable changed;
        bool ended = false;  // guarded by mutex
    };
    std::shared_ptr<Run> run_;
    std::thread thread_;
};

}  // namespace relay_hub
