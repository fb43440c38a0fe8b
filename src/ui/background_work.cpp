#include "ui/background_work.h"

#include <exception>
#include <system_error>
#include <utility>

#include "base/diagnostics.h"
#include "base/signals_blocked.h"

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
                const StopScope scope(run->token);
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
        run_->token.stop();
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

}  // namespace relay_hub
