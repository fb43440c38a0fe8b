#pragma once
// How a wait on a pipe is given up. A token is an eventfd: whoever wants the wait to end calls
// abandon(), from any thread and any number of times; the send that runs on the thread to which the
// token is bound sees it in its polls, closes its FIFOs and returns false. A token stays abandoned.
#include <atomic>

#include "base/file_descriptor.h"

namespace relay_hub {

class AbandonToken {
  public:
    AbandonToken();
    AbandonToken(const AbandonToken&) = delete;
    AbandonToken& operator=(const AbandonToken&) = delete;

    void abandon();
    [[nodiscard]] bool abandoned() const;
    // Readable once abandoned; borrowed, for poll(). -1 when the system had no descriptor left: then look at
    // abandoned() between short waits.
    [[nodiscard]] int descriptor() const { return event_.get(); }

  private:
    std::atomic<bool> abandoned_ = false;
    FileDescriptor event_;
};

// Binds a token to the calling thread for the scope's life; the token must outlive the scope. Scopes nest.
class AbandonScope {
  public:
    explicit AbandonScope(const AbandonToken& token);
    AbandonScope(const AbandonScope&) = delete;
    AbandonScope& operator=(const AbandonScope&) = delete;
    ~AbandonScope();

  private:
    const AbandonToken* outer_;
};

// The token bound to the calling thread, or null.
const AbandonToken* current_abandon_token();

}  // namespace relay_hub
