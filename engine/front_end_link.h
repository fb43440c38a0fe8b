#pragma once
// The call-backs: the engine as the client of the front end's own pipe pair. A front end that is not there,
// hangs or dies costs a bounded wait. One exchange at a time, whichever thread asks; the copy's questions
// come from the thread that serves requests.
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

#include "engine/fifo.h"
#include "engine/front_end.h"
#include "engine/link_state.h"

namespace relay_hub::engine {

class FrontEndLink : public FrontEnd {
  public:
    // base: path of the pipe pair without "_IN" and "_OUT".
    FrontEndLink(std::string base, const StopEvent& stop, const LinkState& state);

    Answer confirm(const std::string& question) override;
    bool cancelled() override;
    void progress(const Progress& report) override;
    void message(const std::string& text) override;

    // Any thread. False when the front end did not take it.
    bool tell_remote_is_offline();
    bool ask_to_handle_remote_request();

    // The write end of the answer to the request being served and the watch on it, -1 for none: for a client
    // that left there is nothing left to do, to ask or to tell.
    void set_client(int answer_end, int leave_events) { client_.set_peer(answer_end, leave_events); }

  private:
    class Turn;
    bool succeeds(const char* command, Milliseconds limit);
    // The answer's text; nothing when there was none. answer_limit is for its first byte.
    std::optional<std::string> exchange(const PipeWaiter& waiter, const std::string& message,
                                        Milliseconds open_limit, Milliseconds answer_limit);
    int send(const PipeWaiter& waiter, const std::string& message, Milliseconds open_limit,
             FileDescriptor& out);
    std::optional<std::string> read_answer(int fd, const PipeWaiter& waiter, Milliseconds limit) const;

    const std::string base_;
    const LinkState& state_;
    PipeWaiter client_;  // serving thread only
    PipeWaiter no_client_;
    std::mutex mutex_;
    std::condition_variable idle_;
    bool busy_ = false;                                   // guarded by mutex_: an exchange is under way
    std::chrono::steady_clock::time_point absent_until_;  // serving thread only
};

}  // namespace relay_hub::engine
