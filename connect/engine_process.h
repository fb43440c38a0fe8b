#pragma once
// The link engine as this program runs it: started for one computer or folder, listened to, ended. Window's
// thread.
#include <functional>
#include <memory>
#include <string>

#include "base/main_loop_source.h"
#include "base/non_copyable.h"
#include "connect/child_process.h"
#include "connect/engine_status.h"
#include "connect/line_reader.h"

namespace relay_hub::connect {

// What the engine is to serve: a computer's whole address, or a folder of this one.
struct EngineTarget {
    bool is_folder = false;
    std::string what;
};

class EngineProcess : NonCopyable {
  public:
    struct Listener {
        std::function<void(const EngineStatus&)> on_status;
        // Once, when the engine has ended; last_words: its last line on standard error.
        std::function<void(const std::string& last_words)> on_end;
    };

    EngineProcess(std::string program, Listener listener);

    // Empty, or why it could not be started. Not while it runs.
    std::string start(const EngineTarget& target);
    [[nodiscard]] bool running() const { return child_.running(); }
    // Asks the engine to end; kills it when that takes too long.
    void end();

  private:
    static gboolean on_too_long(gpointer self);
    void take_error_line(const std::string& line);
    void on_exit();

    std::string program_;
    Listener listener_;
    ChildProcess child_;
    std::unique_ptr<LineReader> statuses_;
    std::unique_ptr<LineReader> errors_;
    std::string last_words_;
    MainLoopSource patience_;
};

}  // namespace relay_hub::connect
