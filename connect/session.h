#pragma once
// One use of the program: ask for a computer, start the engine for it and then the window, and end both
// together. Window's thread.
#include <memory>
#include <string>

#include "connect/announced_computers.h"
#include "connect/child_process.h"
#include "connect/computer_history.h"
#include "connect/connect_dialog.h"
#include "connect/engine_process.h"

namespace relay_hub::connect {

struct Programs {
    std::string engine;
    std::string window;
};

class Session {
  public:
    explicit Session(const Programs& programs);

    // How to begin: with the dialog, with the question for a folder, or at once with a computer or a folder.
    void ask();
    void ask_for_folder();
    void connect(const SshAddress& address);
    void serve(const std::string& folder);

    // Ends the window and the engine; run() returns when both have gone.
    void stop();
    // Runs until all is over; the status to end with: the window's own, or 1 when the last connection failed.
    int run();

  private:
    // asking: the dialog waits for the user. ending: whatever still runs has been asked to end.
    enum class State { asking, connecting, cancelling, window_is_open, ending };

    void begin(const EngineTarget& target, const std::string& shown_name);
    void cancel();
    void on_status(const EngineStatus& status);
    void on_engine_end(const std::string& last_words);
    void on_connected();
    void on_window_end(int wait_status);
    void tell_failure(Failure failure, const std::string& text);
    [[nodiscard]] bool is_over() const;
    void quit_when_all_have_gone();

    Programs programs_;
    State state_ = State::asking;
    int exit_status_ = 0;
    ComputerHistory history_;
    SshAddress address_;  // the computer that is being reached; of a folder empty
    std::string shown_name_;
    EngineStatus failure_;  // what the engine reported before it ended
    ConnectDialog dialog_;
    EngineProcess engine_;
    ChildProcess window_;
    std::unique_ptr<AnnouncedComputers> announced_;
};

}  // namespace relay_hub::connect
