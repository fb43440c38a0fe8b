#include "ui/background_work.h"

#include <poll.h>

#include <exception>
#include <system_error>
#include <utility>

#include "base/diagnostics.h"
#include "base/quiet_thread.h"

namespace relay_hub {
BackgroundWork::~BackgroundWork() {
    if (thread_.joinable())
        thread_.detach();
}

bool BackgroundWork::start(std::function<void()> body) {
    if (thread_.joinable())
        thread_.join();
    auto run = std::make_shared<Run>();
    try {
        const SignalsBlocked blocked;
        thread_ = std::thread([run, work = std::move(body)] {
            try {
                const AbandonScope scope(run->token);
                work();
            } catch (const std::exception& error) {
                report(RELAY_HUB_HERE, "work in the background ended early:", error.what());
            }
            const std::lock_guard lock(run->mutex);
            run->ended = true;
            run->changed.notify_all();
        });
    } catch (const std::system_error& error) {
        report_error(RELAY_HUB_HERE, error.code().value());
        return false;
    }
    run_ = std::move(run);
    return true;
}

bool BackgroundWork::running() const {
    if (run_ == nullptr)
        return false;
    const std::lock_guard lock(run_->mutex);
    return !run_->ended;
}

void BackgroundWork::abandon() {
    if (run_ != nullptr)
        run_->token.abandon();
}

bool BackgroundWork::wait(std::chrono::milliseconds limit) {
    if (run_ == nullptr)
        return true;
    std::unique_lock lock(run_->mutex);
    return run_->changed.wait_for(lock, limit, [this] { return run_->ended; });
}

bool BackgroundWork::stop(std::chrono::milliseconds limit) {
    abandon();
    if (!wait(limit))
        return false;
    if (thread_.joinable())
        thread_.join();
    return true;
}

bool pause_unless_abandoned(std::chrono::milliseconds time) {
    using Clock = std::chrono::steady_clock;
    const AbandonToken* token = current_abandon_token();
    const Clock::time_point end = Clock::now() + time;
    while (token == nullptr || !token->abandoned()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0)
            return true;
        pollfd abandoned{token != nullptr ? token->descriptor() : -1, POLLIN, 0};
        (void)::poll(&abandoned, 1, static_cast<int>(left.count()));
    }
    return false;
}

}  // namespace relay_hub
