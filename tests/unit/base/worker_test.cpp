#include "base/worker.h"

#include <glib.h>
#include <pthread.h>

#include <csignal>
#include <stdexcept>

#include "base/main_loop.h"
#include "base/wait.h"
#include "sandbox.h"

namespace relay_hub {
namespace {

using namespace std::chrono_literals;

TEST(Worker, RunsWithoutSignalsAndWakesTheMainLoopAtItsEnd) {
    (void)g_main_context_default();  // as in a program, it is there before the threads that wake it
    sigset_t mask;
    int answer = 0;
    Worker worker;
    EXPECT_FALSE(worker.running());
    EXPECT_EQ(worker.start("a test",
                           [&] {
                               pthread_sigmask(SIG_SETMASK, nullptr, &mask);
                               (void)interruptible_sleep(50ms);
                               answer = 7;
                           }),
              0);
    turn_main_loop_until([&] { return !worker.running(); });
    EXPECT_EQ(answer, 7);
    EXPECT_TRUE(sigismember(&mask, SIGTERM) == 1 && sigismember(&mask, SIGSEGV) == 0);
    EXPECT_EQ(worker.failure(), nullptr);
}

TEST(Worker, KeepsTheExceptionThatEndedItAndCanStartAgain) {
    Worker worker;
    worker.start("a test", [] { throw std::runtime_error("no luck"); });
    worker.join();
    EXPECT_NE(worker.failure(), nullptr);
    EXPECT_EQ(worker.start("a test", [] {}), 0);
    worker.join();
    EXPECT_EQ(worker.failure(), nullptr);
}

TEST(Worker, StopEndsItsSleepAndItsOwnerMayGoFirst) {
    const auto ended = std::make_shared<std::atomic<bool>>(false);
    {
        Worker worker;
        worker.start("a test", [ended] { *ended = !interruptible_sleep(1h); });
        EXPECT_FALSE(worker.wait(20ms));
    }
    turn_main_loop_until([&] { return ended->load(); });
}

TEST(MainLoop, ServesWhatWaitsAndNoMore) {
    int served = 0;
    const auto count = [](gpointer data) { return static_cast<gboolean>(++*static_cast<int*>(data) < 3); };
    g_idle_add(count, &served);
    serve_main_loop(1h);
    EXPECT_EQ(served, 3);
    const guint endless = g_idle_add([](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    serve_main_loop(1ms);
    g_source_remove(endless);
}

}  // namespace
}  // namespace relay_hub
