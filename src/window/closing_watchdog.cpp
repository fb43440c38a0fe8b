#include "window/closing_watchdog.h"

#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <system_error>
#include <thread>

#include "base/diagnostics.h"
#include "base/log.h"
#include "base/signals_blocked.h"

namespace relay_hub {
namespace {

constexpr std::chrono::milliseconds kOrderlyEnd(1500);

// Only what cannot block: another thread may hold the stream's lock, and its reader may be gone to sleep.
void flush_if_possible(std::FILE* stream) {
    pollfd writable{fileno(stream), POLLOUT, 0};
    if (poll(&writable, 1, 0) != 1 || ftrylockfile(stream) != 0)
        return;
    std::fflush(stream);
    funlockfile(stream);
}

class Watchdog {
  public:
    Watchdog() = default;
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog() { disarm(); }

    void arm() {
        disarm();
        called_off_ = false;
        const SignalsBlocked blocked;
        try {
            thread_ = std::thread([this] { watch(); });
        } catch (const std::system_error& error) {
            report(RELAY_HUB_HERE, "the closing watchdog could not be started:", error.what());
        }
    }

    void disarm() {
        if (!thread_.joinable())
            return;
        {
            const std::lock_guard lock(mutex_);
            called_off_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }

  private:
    void watch() {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, kOrderlyEnd, [this] { return called_off_; }))
            end_process();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool called_off_ = false;  // guarded by mutex_
    std::thread thread_;
};

Watchdog watchdog;

}  // namespace

void arm_closing_watchdog() {
    watchdog.arm();
}

void disarm_closing_watchdog() {
    watchdog.disarm();
}

void end_process() {
    theLog.Print("^^^^ Close Log()\n");
    theLog.CloseFile();
    flush_if_possible(stdout);
    _exit(0);
}

}  // namespace relay_hub
