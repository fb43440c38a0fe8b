#include "engine/offline_notifier.h"

#include <chrono>
#include <utility>

namespace relay_hub::engine {
namespace {

constexpr std::chrono::seconds kRetry{1};

}  // namespace

OfflineNotifier::OfflineNotifier(std::function<bool()> tell) : tell_(std::move(tell)) {
    worker_.start("the news of the remote computer", [this] { run(); });
}

OfflineNotifier::~OfflineNotifier() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    changed_.notify_all();
    worker_.join();
}

void OfflineNotifier::set_offline(bool offline) {
    {
        const std::lock_guard lock(mutex_);
        pending_ = offline;
    }
    changed_.notify_all();
}

void OfflineNotifier::run() {
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return pending_ || ending_; });
        if (ending_)
            return;
        pending_ = false;
        lock.unlock();
        const bool delivered = tell_();
        lock.lock();
        if (delivered || changed_.wait_for(lock, kRetry, [this] { return ending_; }))
            continue;
        pending_ = true;
    }
}

}  // namespace relay_hub::engine
