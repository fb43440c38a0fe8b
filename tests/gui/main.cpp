#include <gmock/gmock.h>
#include <gtk/gtk.h>

#include <csignal>
#include <cstdio>

#include "window/window_thread.h"

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
