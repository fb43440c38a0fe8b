#pragma once
// Tells the front end that the remote computer went offline, on a thread of its own: the front end may take
// long to answer, and may not be there yet.
#include <condition_variable>
#include <functional>
#include <mutex>

#include "base/non_copyable.h"
#include "base/worker.h"

namespace relay_hub::engine {

class OfflineNotifier : NonCopyable {
  public:
    // tell returns whether the news arrived; until it does it is called again every second.
    explicit OfflineNotifier(std::function<bool()> tell);
    // Ends the thread; a tell() under way must return by itself.
    ~OfflineNotifier();

    // Any thread. The remote computer went offline, or came back: then no more notices are sent.
    void set_offline(bool offline);

  private:
    void run();

    std::function<bool()> tell_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool pending_ = false;  // guarded by mutex_
    bool ending_ = false;   // guarded by mutex_
    Worker worker_;
};

}  // namespace relay_hub::engine
