#pragma once
// Work that may wait for the engine, on a thread of its own with an AbandonToken bound to it. Window's thread,
// but for the body.
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "name_pipe/abandon.h"

namespace relay_hub {

class BackgroundWork {
  public:
    BackgroundWork() = default;
    BackgroundWork(const BackgroundWork&) = delete;
    BackgroundWork& operator=(const BackgroundWork&) = delete;
    // The body must have ended: call finish or stop first.
    ~BackgroundWork() = default;

    // Runs body on a new thread. False, after a diagnostic, when the thread cannot be started; nothing when
    // one still runs.
    bool start(std::function<void()> body);
    [[nodiscard]] bool running() const;
    // Ends the body's waits on pipes and its pauses.
    void abandon();
    // Turns the main loop until the body has ended, and joins. A closing program abandons it.
    void finish();
    // For when no main loop runs: abandons, waits at most limit for the body, joins. False when it still runs;
    // the thread is then left to the end of the process.
    bool stop(std::chrono::milliseconds limit);

  private:
    struct Run {
        AbandonToken token;
        std::atomic<bool> ended = false;
    };
    std::shared_ptr<Run> run_;
    std::thread thread_;
};

// Sleeps, unless the calling thread's AbandonToken ends it earlier. True when it slept to the end.
bool pause_unless_abandoned(std::chrono::milliseconds time);

}  // namespace relay_hub
