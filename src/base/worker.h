#pragma once
// Work on a thread of its own, on which no signal but SIGSEGV is handled. The body's waits and sleeps end
// when the worker is stopped; its end wakes the main loop, so that a wait there looks again. All
// members are for the owner's thread.
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <thread>

#include "base/non_copyable.h"

namespace relay_hub {

class Worker : NonCopyable {
  public:
    // Stops a body that still runs and leaves it alone: what such a body uses must be the body's own.
    ~Worker();

    // Runs body on a new thread; what names it in a diagnostic, and lives as long as the program. 0, or the
    // error of the thread's start, after a diagnostic. Only once the body before has ended.
    int start(const char* what, std::function<void()> body);
    [[nodiscard]] bool running() const;
    // Ends the body's waits and sleeps, now and later.
    void stop();
    // True once the body has ended, and what it wrote can be read; waits at most limit for that.
    bool wait(std::chrono::milliseconds limit) const;
    // Waits for the body's end, however long that takes.
    void join();
    // The exception that ended the body, after a diagnostic; null for none.
    [[nodiscard]] std::exception_ptr failure() const;

  private:
    struct SharedState;
    std::shared_ptr<SharedState> state_;
    std::thread thread_;
};

}  // namespace relay_hub
