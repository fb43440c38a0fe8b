#pragma once
// The call-backs: the engine as the client of the front end's own pipe pair. A front end that is not there,
// hangs or dies costs a bounded wait. One exchange at a time, whichever thread asks; what FrontEnd offers is
// called on the thread of the request being served, within a PeerScope that tells when that is given up.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

#include "base/file_descriptor.h"
#include "base/frame.h"
#include "base/stop_token.h"
#include "base/wait.h"
#include "engine/front_end.h"
#include "engine/wire_text.h"

namespace relay_hub::engine {

class FrontEndLink : public FrontEnd {
  public:
    // base: path of the pipe pair without "_IN" and "_OUT".
    FrontEndLink(std::string base, const StopToken& stop, const std::atomic<bool>& remote_online);

    OverwriteAnswer confirm(const std::string& question) override;
    bool cancelled() override;
    bool broken_off() override;
    void progress(const Progress& report) override;
    bool message(const std::string& text) override;

    // Any thread. Takes from all other users the right to write to the front end's pipes: they could answer
    // its user's questions to us, or end its listener.
    void make_pipes_private() const;

    // Any thread, before a request is begun.
    void begin_request();
    // Any thread. Whether the user has cancelled a request that asked about it before, but for a second has
    // neither asked nor reported anything.
    bool silent_and_cancelled();

    // Any thread. False when the front end did not take it.
    bool tell_remote_is_offline();
    bool ask_to_handle_remote_request();

  private:
    class Turn;
    // On whose behalf the front end is called: a request's, which ends with its client and with the remote
    // computer, or the engine's own.
    enum class Caller { request, engine };

    // Whether the answer to the command has this value in that field.
    bool answers(Caller caller, const char* command, std::chrono::milliseconds limit, const char* field,
                 const char* value);
    // The answer's text; nothing when there was none. answer_limit is for its first byte.
    std::optional<std::string> exchange(Caller caller, Fields fields, std::chrono::milliseconds open_limit,
                                        std::chrono::milliseconds answer_limit);
    WriteEnd send(const std::string& message, std::chrono::milliseconds open_limit, FileDescriptor& out);
    bool await_answer(int fd, Caller caller, std::chrono::milliseconds limit) const;

    const std::string base_;
    const StopToken& stop_;
    const std::atomic<bool>& remote_online_;
    std::mutex mutex_;
    std::condition_variable idle_;
    bool busy_ = false;  // guarded by mutex_: an exchange is under way
    std::atomic<Clock::time_point> absent_until_{};
    std::atomic<bool> broken_off_ = false;         // the remote computer may be back by now
    std::atomic<Clock::time_point> last_asked_{};  // for a request; none for a request that asked nothing
};

}  // namespace relay_hub::engine
