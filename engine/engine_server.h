#pragma once
// Serves the command pipe: opens it for one client after the other, reads a request, has it answered, writes
// the answer. run() belongs to one thread; stop() ends it from any other.
#include <atomic>
#include <cstddef>
#include <optional>
#include <string>

#include "engine/fifo.h"
#include "engine/front_end_link.h"
#include "engine/request_handlers.h"

namespace relay_hub::engine {

struct ServerSettings {
    std::string base;            // path of the pipe pair without "_IN" and "_OUT"
    Milliseconds list_delay{0};  // before each answer that is a list
    std::size_t piece = 0;       // bytes of an answer in one write, 0 for all
    bool quiet = false;          // no line on standard output for each request
};

class EngineServer {
  public:
    EngineServer(ServerSettings settings, RequestHandlers& handlers, FrontEndLink& front_end,
                 StopEvent& stop);
    // Removes the pipes that create_pipes made or took.
    ~EngineServer();
    EngineServer(const EngineServer&) = delete;
    EngineServer& operator=(const EngineServer&) = delete;

    // False, with why told, when a pipe cannot be had.
    bool create_pipes(std::string& why);
    // Returns after stop() or when a client asked the engine to exit: true. False when the pipe was lost.
    bool run();
    // Wakes run() from whatever it waits for; it returns soon after.
    void stop();
    [[nodiscard]] bool ended() const { return ended_; }

  private:
    void serve_client(int in);
    void answer(int out, const std::string& request);
    void drain(int in) const;

    const ServerSettings settings_;
    const std::string in_path_;
    const std::string out_path_;
    RequestHandlers& handlers_;
    FrontEndLink& front_end_;
    StopEvent& stop_;
    bool owns_pipes_ = false;
    // Held open for reading, so that a client that writes between two rounds never writes to nobody.
    FileDescriptor keeper_;
    std::optional<ReaderWatch> clients_;  // who reads the answers
    std::atomic<bool> ended_{false};
};

}  // namespace relay_hub::engine
