#include <gmock/gmock.h>
#include <gtk/gtk.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "window/window_thread.h"

// In the place of the C library's: a window that stands still is ended by its watchdog with status 0, which
// in a test is no success.
extern "C" void _exit(int status) {
    const bool cut_short = status == 0 && !testing::internal::InDeathTestChild();
    syscall(SYS_exit_group, cut_short ? 1 : status);
    __builtin_unreachable();
}

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    (void)std::signal(SIGPIPE, SIG_IGN);
    gdk_threads_init();
    const bool has_display = gtk_init_check(&argc, &argv) != FALSE;
    if (!has_display && !testing::GTEST_FLAG(list_tests)) {
        std::fputs("these tests need a display: run them under xvfb-run\n", stderr);
        return 1;
    }
    relay_hub::remember_window_thread();
    gdk_threads_enter();
    const int result = RUN_ALL_TESTS();
    gdk_threads_leave();
    return result;
}
