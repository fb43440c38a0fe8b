#include "ui/background_work.h"

#include <gtk/gtk.h>
#include <poll.h>

#include <system_error>
#include <utility>

#include "name_pipe/diagnostics.h"
#include "ui/base/closing.h"
#include "ui/signals.h"

namespace relay_hub {

bool BackgroundWork::start(std::function<void()> body) {
    if (running())
        return true;
    if (thread_.joinable())
        thread_.join();
    auto run = std::make_shared<Run>();
    try {
        const WorkerSignalMask mask;
        thread_ = std::thread([run, work = std::move(body)] {
            {
                const AbandonScope scope(run->token);
                work();
            }
            run->ended = true;
            g_main_context_wakeup(nullptr);
        });
    } catch (const std::system_error& error) {
        report_error(RELAY_HUB_HERE, error.code().value());
        return false;
    }
    run_ = std::move(run);
    return true;
}

bool BackgroundWork::running() const { return run_ != nullptr && !run_->ended; }

void BackgroundWork::abandon() {
    if (run_ != nullptr)
        run_->token.abandon();
}

void BackgroundWork::finish() {
    while (running()) {
        if (window_is_closing())
            abandon();
        (void)gtk_main_iteration();
    }
    if (thread_.joinable())
        thread_.join();
}

bool BackgroundWork::stop(std::chrono::milliseconds limit) {
    abandon();
    constexpr std::chrono::milliseconds kStep(5);
    for (std::chrono::milliseconds waited(0); running() && waited < limit; waited += kStep)
        std::this_thread::sleep_for(kStep);
    if (!thread_.joinable())
        return true;
    if (running()) {
        thread_.detach();
        return false;
    }
    thread_.join();
    return true;
}

bool pause_unless_abandoned(std::chrono::milliseconds time) {
    const AbandonToken* token = current_abandon_token();
    const auto end = std::chrono::steady_clock::now() + time;
    for (;;) {
        if (token != nullptr && token->abandoned())
            return false;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return true;
        pollfd abandoned{token != nullptr ? token->descriptor() : -1, POLLIN, 0};
        (void)::poll(&abandoned, 1, static_cast<int>(left.count()));
    }
}

}  // namespace relay_hub
