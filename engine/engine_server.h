#pragma once
// Serves the command pipe: opens it for one client after the other, reads a request, has it answered, writes
// the answer. run() belongs to one thread; stop() ends it from any other.
#include <atomic>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/fifo.h"
#include "base/non_copyable.h"
#include "base/stop_token.h"
#include "engine/front_end_link.h"
#include "engine/request_thread.h"

namespace relay_hub::engine {

struct ServerSettings {
    std::string base;                         // path of the pipe pair without "_IN" and "_OUT"
    std::chrono::milliseconds list_delay{0};  // before each answer that is a list
    std::size_t piece = 0;                    // bytes of an answer in one write, 0 for all
    bool quiet = false;                       // no line on standard output for each request
};

class EngineServer : NonCopyable {
  public:
    EngineServer(ServerSettings settings, HandlersFactory make_handlers, FrontEndLink& front_end,
                 StopToken& stop);
    ~EngineServer() { remove_pipes(); }

    // False, with the reason in why, when a pipe cannot be had.
    bool create_pipes(std::string& why);
    // Returns after stop() or when a client asked the engine to exit: true. False when the pipe was lost.
    bool run();
    // Wakes run() from whatever it waits for, and returns once that has returned and nothing of a request
    // runs any more; false when it did not within the limit.
    bool stop(std::optional<std::chrono::milliseconds> limit = std::nullopt);
    // For an end that leaves run() behind; the destructor does it too.
    void remove_pipes();
    [[nodiscard]] bool ended() const { return ended_; }

  private:
    // What became of a client's request.
    enum class Reading { complete, client_left, failed };

    // One round. False when the pipe of the requests was lost.
    bool serve_safely();
    bool serve_client();
    // Blocks until a client opens its end, or stop() does. Empty, after a diagnostic, when the pipe was lost.
    FileDescriptor await_client();
    Reading read_request(int in, std::string& body);
    Reading open_answer_end(int in);
    void answer(std::string request);
    void send_answer(std::string_view text);
    void await_departure();

    const ServerSettings settings_;
    const std::string in_path_;
    const std::string out_path_;
    RequestThread requests_;
    FrontEndLink& front_end_;
    StopToken& stop_;
    bool owns_pipes_ = false;
    FileDescriptor pipe_;  // names the pipe of the requests for stop(), whatever happens to its path
    // Both are open while a client is awaited and until its request has been read, so that one that comes
    // just then neither writes to nobody nor takes another's end for its own. During a request nobody else
    // gets in.
    FileDescriptor keeper_;   // a reader of requests
    FileDescriptor out_;      // the answers; opened once there is a reader
    FileDescriptor clients_;  // watches the readers of the answers leave
    std::atomic<bool> ended_{false};
};

}  // namespace relay_hub::engine
