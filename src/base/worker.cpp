#include "base/worker.h"

#include <glib.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <system_error>
#include <utility>

#include "base/diagnostics.h"
#include "base/signals_blocked.h"
#include "base/stop_token.h"

namespace relay_hub {

// Shared with the thread, which may outlive the worker.
struct Worker::SharedState {
    void perform(const std::function<void()>& body) {
        const StopScope scope(token);
        try {
            body();
        } catch (const std::exception& error) {
            report(RELAY_HUB_HERE, std::string(what) + " ended early:", error.what());
            failure = std::current_exception();
        }
    }
    void end() {
        {
            const std::lock_guard lock(mutex);
            ended = true;
        }
        changed.notify_all();
        g_main_context_wakeup(nullptr);
    }

    const char* what = "";
    StopToken token;
    std::exception_ptr failure;  // the thread's until ended
    std::mutex mutex;
    std::condition_variable changed;
    bool ended = false;  // guarded by mutex
};

Worker::~Worker() {
    if (!thread_.joinable())
        return;
    if (running()) {
        stop();
        thread_.detach();
    } else {
        thread_.join();
    }
}

int Worker::start(const char* what, std::function<void()> body) {
    if (thread_.joinable())
        thread_.join();
    auto state = std::make_shared<SharedState>();
    state->what = what;
    try {
        const SignalsBlocked blocked;
        thread_ = std::thread([state, body = std::move(body)]() mutable {
            state->perform(body);
            // What the body owns goes before its end is announced.
            body = nullptr;
            state->end();
        });
    } catch (const std::system_error& error) {
        report(RELAY_HUB_HERE, std::string("no thread for ") + what + ":", error.what());
        return error.code().value();
    }
    state_ = std::move(state);
    return 0;
}

// Asked in every turn of a main loop; a wait, even of no time, would be two system calls.
bool Worker::running() const {
    if (state_ == nullptr)
        return false;
    const std::lock_guard lock(state_->mutex);
    return !state_->ended;
}

void Worker::stop() {
    if (state_ != nullptr)
        state_->token.stop();
}

bool Worker::wait(std::chrono::milliseconds limit) const {
    if (state_ == nullptr)
        return true;
    std::unique_lock lock(state_->mutex);
    return state_->changed.wait_for(lock, limit, [this] { return state_->ended; });
}

void Worker::join() {
    if (thread_.joinable())
        thread_.join();
}

std::exception_ptr Worker::failure() const {
    return state_ != nullptr && !running() ? state_->failure : nullptr;
}

}  // namespace relay_hub
