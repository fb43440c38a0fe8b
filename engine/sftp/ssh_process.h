#pragma once
// The user's own ssh, started for the SFTP subsystem of another computer. It brings the user's configuration,
// keys, agent, jump hosts and known hosts, and asks for passwords by itself: in a window where there is a
// display, else in the terminal. Used on one thread, but for all_errors() and errors_at_end().
#include <sys/types.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "base/non_copyable.h"
#include "base/ssh_address.h"
#include "engine/sftp/link_failure.h"

namespace relay_hub::engine::sftp {

struct SshStart {
    SshAddress address;
    // Whether ssh may ask the user. Without it a connection that needs an answer fails.
    bool may_ask = true;
    std::chrono::seconds connect_limit{15};  // until the other computer's ssh answers
    std::string ciphers;                     // for ssh to propose, in order; empty: as it decides
};

// The command line, for the start and for tests.
std::vector<std::string> ssh_arguments(const SshStart& start);

// What ssh would do for a computer by the user's and the system's files, or by none: lines of a word and its
// value. Empty when it does not say so within a second. A stopped thread does not wait.
enum class ConfigurationFiles { kUsers, kNone };
std::string ssh_configuration(const SshAddress& address, ConfigurationFiles files);

class SshProcess : NonCopyable {
  public:
    // Null, with the reason in why, when ssh cannot be started.
    static std::unique_ptr<SshProcess> start(const SshStart& start, LinkFailure& why);
    // Ends ssh and all that it started, by force where it does not go.
    ~SshProcess();

    // Its standard input and output, for one taker; non-blocking.
    FileDescriptor take_input() { return std::move(input_); }
    FileDescriptor take_output() { return std::move(output_); }
    // Readable when it wrote on standard error or closed it. Borrowed.
    [[nodiscard]] int errors() const { return errors_.get(); }
    // The whole lines that were written since the last call. False once standard error is closed.
    bool read_errors(std::vector<std::string>& lines);
    // The first and the last lines so far, without those forgotten. Any thread.
    std::vector<std::string> all_errors();
    // The same once standard error is closed, or half a second later: ssh closes its output before it says
    // why.
    std::vector<std::string> errors_at_end();
    // Forgets what read_errors() gave.
    void forget_errors();

  private:
    friend std::string ssh_configuration(const SshAddress& address, ConfigurationFiles files);
    static std::unique_ptr<SshProcess> start(std::vector<std::string> arguments, bool may_ask,
                                             LinkFailure& why);
    void drain_errors();
    bool errors_open();
    SshProcess(pid_t process, bool leads_group) : process_(process), leads_group_(leads_group) {}
    void signal_all(int number) const;
    bool wait_for_end(std::chrono::milliseconds limit);

    pid_t process_;
    bool leads_group_;
    FileDescriptor input_;
    FileDescriptor output_;
    FileDescriptor errors_;
    bool errors_open_ = true;         // guarded by mutex_
    std::string unfinished_line_;     // guarded by mutex_
    std::vector<std::string> lines_;  // guarded by mutex_; the first and the last ones
    std::size_t lines_reported_ = 0;  // guarded by mutex_
    std::mutex mutex_;
};

}  // namespace relay_hub::engine::sftp
