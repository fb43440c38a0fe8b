#include "window/closing_watchdog.h"

#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "base/log.h"
#include "base/wait.h"

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

}  // namespace

void Watchdog::arm() {
    disarm();
    worker_.start("the closing watchdog", [] {
        if (interruptible_sleep(kOrderlyEnd))
            end_process();
    });
}

void Watchdog::disarm() {
    worker_.stop();
    worker_.join();
}

void end_process() {
    theLog.Print("^^^^ Close Log()\n");
    theLog.CloseFile();
    flush_if_possible(stdout);
    _exit(0);
}

}  // namespace relay_hub
