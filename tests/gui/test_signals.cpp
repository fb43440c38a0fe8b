#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>

#include "link_engine/command_runner.h"
#include "ui/signals.h"

namespace {

using testing::ExitedWithCode;

constexpr int kStillRunning = 7;

// Raises a signal as the system would; leaves with kStillRunning if the handler lets the process live.
[[noreturn]] void receive(int number) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    handle_register();
    errno = ENOENT;
    raise(number);
    _exit(kStillRunning);
}

TEST(Signals, TellTheirNameAndEndTheProcessOrNot) {
    const struct {
        int number, status;
        const char* line;
    } cases[] = {{SIGCHLD, kStillRunning, "^Relay Hub:signal_count:1\n$"},
                 {SIGINT, 255, "^Relay Hub:SIGINT_handler\n$"},
                 {SIGTERM, kStillRunning, "^Relay Hub:SIGTERM_handler\n$"},
                 {SIGSEGV, 255, "^Relay Hub:SIGSEGV_handler >> .No such file or directory.\tcode:.2.\n$"},
                 {SIGUSR1, kStillRunning, "^Relay Hub:SIGUSR1_handler\n$"},
                 {SIGUSR2, kStillRunning, "^Relay Hub:SIGUSR2_handler\n$"}};
    for (const auto& each : cases)
        EXPECT_EXIT(receive(each.number), ExitedWithCode(each.status), each.line);
}

}  // namespace
