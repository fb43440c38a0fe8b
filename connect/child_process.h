#pragma once
// A program that this one starts, and that does not outlive it. Window's thread.
#include <glib.h>

#include <functional>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "base/non_copyable.h"

namespace relay_hub::connect {

struct ProgramToStart {
    std::vector<std::string> words;  // words[0]: the program's path
    int signal_when_orphaned = 0;    // sent to it when this process dies, however that happens
    int status_descriptor = -1;      // borrowed; the program finds it as kStatusDescriptor; -1: none
    int error_descriptor = -1;       // borrowed; its standard error; -1: this process's
};
inline constexpr int kStatusDescriptor = 3;

class ChildProcess : NonCopyable {
  public:
    // Called once, when the program has ended, with what waitpid() says. May start the next one.
    using Ended = std::function<void(int wait_status)>;
    // Kills what still runs.
    ~ChildProcess();

    // Empty, or why the program could not be started. Not while one runs.
    std::string start(const ProgramToStart& program, Ended ended);
    [[nodiscard]] bool running() const { return pid_ > 0; }
    // Nothing when none runs.
    void send_signal(int number) const;

  private:
    static void on_exit(GPid pid, gint wait_status, gpointer self);

    GPid pid_ = 0;
    guint watch_ = 0;
    Ended ended_;
};

// What a program ended with, as a shell tells it: its status, or 128 and the signal's number.
int exit_status_of(int wait_status);

}  // namespace relay_hub::connect
