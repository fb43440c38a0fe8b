#include "engine/sftp/ssh_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string_view>

#include "base/diagnostics.h"
#include "base/translated_text.h"
#include "base/wait.h"

namespace relay_hub::engine::sftp {
namespace {

constexpr std::chrono::milliseconds kPoliteEnd{300};
constexpr std::chrono::milliseconds kForcedEnd{1000};
constexpr std::chrono::milliseconds kLastWordsLimit{500};
constexpr std::chrono::milliseconds kConfigurationLimit{1000};
constexpr std::size_t kMostLines = 200;
constexpr std::size_t kLongestLine = 1000;
constexpr int kPipeCapacity = 1 << 20;
constexpr char kDefaultAskpass[] = "/usr/bin/ssh-askpass";

bool make_pipe(Pipe& made) {
    if (!open_pipe(made))
        return false;
    (void)fcntl(made.read_end.get(), F_SETPIPE_SZ, kPipeCapacity);
    return true;
}

// What a pipe does for each 16 KiB that ssh takes, a socket does once it is nearly empty: report room.
bool make_sockets(Pipe& made) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return false;
    made = {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    (void)setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &kPipeCapacity, sizeof kPipeCapacity);
    return true;
}

void make_non_blocking(const FileDescriptor& end) {
    (void)fcntl(end.get(), F_SETFL, fcntl(end.get(), F_GETFL) | O_NONBLOCK);
}

bool is_set(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

// A program that asks in a window.
bool has_askpass() {
    if (is_set("SSH_ASKPASS"))
        return true;
    return (is_set("DISPLAY") || is_set("WAYLAND_DISPLAY")) && access(kDefaultAskpass, X_OK) == 0;
}

// In a terminal without an asking program ssh asks there, which it can only as one of the terminal's own.
bool asks_in_terminal() {
    if (has_askpass())
        return false;
    const FileDescriptor terminal(open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC));
    return static_cast<bool>(terminal);
}

std::vector<std::string> child_environment(bool force_askpass) {
    std::vector<std::string> result;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        if (!force_askpass || !std::string_view(*variable).starts_with("SSH_ASKPASS_REQUIRE="))
            result.emplace_back(*variable);
    }
    if (force_askpass)
        result.emplace_back("SSH_ASKPASS_REQUIRE=force");
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

class SpawnSettings : NonCopyable {
  public:
    explicit SpawnSettings(bool own_session) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        // The engine's threads take no signals; ssh lives and ends by them.
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        sigaddset(&signals, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setflags(&attributes_,
                                 static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                    (own_session ? POSIX_SPAWN_SETSID : 0)));
    }
    ~SpawnSettings() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }
    void give(const FileDescriptor& end, int number) {
        posix_spawn_file_actions_adddup2(&actions_, end.get(), number);
    }
    int spawn(pid_t& process, std::vector<std::string>& arguments, std::vector<std::string>& environment) {
        return posix_spawnp(&process, arguments.front().c_str(), &actions_, &attributes_,
                            pointers(arguments).data(), pointers(environment).data());
    }

  private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

}  // namespace

std::vector<std::string> ssh_arguments(const SshStart& start) {
    std::vector<std::string> arguments{
        "ssh", "-x", "-a",
        // A dead link ends ssh, and so us, within eight seconds.
        "-oServerAliveInterval=2", "-oServerAliveCountMax=3", "-oTCPKeepAlive=yes",
        // What it says is the reason of a failure, however much the user wants to read in a terminal.
        "-oLogLevel=INFO", "-oConnectTimeout=" + std::to_string(start.connect_limit.count()),
        // What a configuration may ask for in a terminal session has no place on these pipes. A connection
        // shared with others would not end with the link, and others' would end with ours.
        "-oControlMaster=no", "-oControlPath=none", "-oClearAllForwardings=yes", "-oPermitLocalCommand=no",
        "-oRemoteCommand=none", "-oRequestTTY=no", "-oForkAfterAuthentication=no", "-oStdinNull=no"};
    if (!start.may_ask)
        arguments.emplace_back("-oBatchMode=yes");
    if (!start.ciphers.empty())
        arguments.push_back("-oCiphers=" + start.ciphers);
    if (!start.address.port.empty())
        arguments.insert(arguments.end(), {"-p", start.address.port});
    arguments.insert(arguments.end(), {"-s", "--", start.address.shown(), "sftp"});
    return arguments;
}

std::unique_ptr<SshProcess> SshProcess::start(const SshStart& start, LinkFailure& why) {
    return SshProcess::start(ssh_arguments(start), start.may_ask, why);
}

std::string ssh_configuration(const SshAddress& address, ConfigurationFiles files) {
    std::vector<std::string> arguments = ssh_arguments({address, false, {}, {}});
    arguments.insert(arguments.begin() + 1, "-G");
    if (files == ConfigurationFiles::kNone)
        arguments.insert(arguments.begin() + 1, "-Fnone");
    LinkFailure why;
    const auto ssh = SshProcess::start(std::move(arguments), false, why);
    std::string text;
    const Deadline deadline = after(kConfigurationLimit);
    while (ssh && wait_for(ssh->output_.get(), POLLIN, deadline) == WaitEnd::ready) {
        std::array<char, 4096> buffer{};
        const ssize_t count = read_some(ssh->output_.get(), buffer.data(), buffer.size());
        if (count == 0)
            return text;
        if (count > 0)
            text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return {};
}

std::unique_ptr<SshProcess> SshProcess::start(std::vector<std::string> arguments, bool may_ask,
                                              LinkFailure& why) {
    Pipe input;
    Pipe output;
    Pipe errors;
    if (!make_sockets(input) || !make_pipe(output) || !make_pipe(errors)) {
        why = {FailureKind::kOther, fill_translated("IDS_REASON_NO_SSH", {error_text(errno)})};
        return nullptr;
    }
    const bool in_terminal = may_ask && asks_in_terminal();
    SpawnSettings settings(!in_terminal);
    settings.give(input.read_end, STDIN_FILENO);
    settings.give(output.write_end, STDOUT_FILENO);
    settings.give(errors.write_end, STDERR_FILENO);
    std::vector<std::string> environment = child_environment(may_ask && has_askpass());
    pid_t process = -1;
    if (const int error = settings.spawn(process, arguments, environment); error != 0) {
        why = {error == ENOENT ? FailureKind::kNoSsh : FailureKind::kOther,
               fill_translated("IDS_REASON_NO_SSH", {error_text(error)})};
        return nullptr;
    }
    std::unique_ptr<SshProcess> started(new SshProcess(process, !in_terminal));
    for (FileDescriptor* end : {&input.write_end, &output.read_end, &errors.read_end})
        make_non_blocking(*end);
    started->input_ = std::move(input.write_end);
    started->output_ = std::move(output.read_end);
    started->errors_ = std::move(errors.read_end);
    return started;
}

SshProcess::~SshProcess() {
    input_.reset();
    output_.reset();
    signal_all(SIGTERM);
    // Whatever ssh has started, such as a program that asks, has this pipe open too: it hangs up when all
    // have ended.
    pollfd all{errors_.get(), 0, 0};
    const bool hung_up = poll(&all, 1, static_cast<int>(kPoliteEnd.count())) > 0;
    if (!hung_up || !wait_for_end(kPoliteEnd)) {
        signal_all(SIGKILL);
        if (!wait_for_end(kForcedEnd))
            report(RELAY_HUB_HERE, "ssh does not end");
    }
}

void SshProcess::signal_all(int number) const {
    // A stopped process takes the signal only when it goes on.
    for (const int each : {number, SIGCONT})
        (void)kill(leads_group_ ? -process_ : process_, each);
}

bool SshProcess::wait_for_end(std::chrono::milliseconds limit) {
    const FileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, process_, 0)));
    pollfd ended{process.get(), POLLIN, 0};
    (void)poll(&ended, 1, static_cast<int>(limit.count()));
    return waitpid(process_, nullptr, WNOHANG) != 0;
}

void SshProcess::drain_errors() {
    std::array<char, 4096> buffer{};
    while (errors_open_) {
        const ssize_t count = read(errors_.get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && errno == EAGAIN)
            break;
        errors_open_ = count > 0;
        for (ssize_t i = 0; i < count; ++i) {
            const char c = buffer[static_cast<std::size_t>(i)];
            if (c != '\n' && c != '\r') {
                if (unfinished_line_.size() < kLongestLine)
                    unfinished_line_ += c;
            } else if (!unfinished_line_.empty()) {
                lines_.push_back(std::move(unfinished_line_));
                unfinished_line_.clear();
            }
        }
        if (!errors_open_ && !unfinished_line_.empty())
            lines_.push_back(std::move(unfinished_line_));
    }
}

bool SshProcess::read_errors(std::vector<std::string>& lines) {
    const std::lock_guard lock(mutex_);
    drain_errors();
    lines.assign(lines_.begin() + static_cast<std::ptrdiff_t>(lines_reported_), lines_.end());
    if (lines_.size() > kMostLines)
        lines_.erase(lines_.begin() + kMostLines / 2, lines_.end() - kMostLines / 2);
    lines_reported_ = lines_.size();
    return errors_open_;
}

void SshProcess::forget_errors() {
    const std::lock_guard lock(mutex_);
    lines_.erase(lines_.begin(), lines_.begin() + static_cast<std::ptrdiff_t>(lines_reported_));
    lines_reported_ = 0;
}

std::vector<std::string> SshProcess::all_errors() {
    const std::lock_guard lock(mutex_);
    drain_errors();
    return lines_;
}

std::vector<std::string> SshProcess::errors_at_end() {
    const Deadline deadline = after(kLastWordsLimit);
    while (errors_open() && wait_for(errors_.get(), POLLIN, deadline) == WaitEnd::ready) {
    }
    return all_errors();
}

bool SshProcess::errors_open() {
    const std::lock_guard lock(mutex_);
    drain_errors();
    return errors_open_;
}

}  // namespace relay_hub::engine::sftp
