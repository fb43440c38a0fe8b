#include "util/move_command.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "base/diagnostics.h"
#include "base/file_descriptor.h"
#include "base/non_copyable.h"
#include "base/remove_tree.h"
#include "util/tree_walk.h"

namespace relay_hub {
namespace {

constexpr std::size_t kReasonSize = 4096;
constexpr int kCancelInterval = 50;  // milliseconds

class SpawnSettings : NonCopyable {
  public:
    explicit SpawnSettings(int error_fd) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions_, error_fd, STDERR_FILENO);
        posix_spawnattr_init(&attributes_);
        // This thread's signals are blocked; the child's must not be.
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }

    // 0 or errno.
    int spawn(const char* program, char* const* arguments, pid_t* child) const {
        return posix_spawnp(child, program, &actions_, &attributes_, arguments, environ);
    }

  private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

// A running mv, and the pipe on which it complains.
struct RunningMove {
    pid_t child = 0;
    FileDescriptor complaints;
};

// What mv says until it ends; what exceeds the limit is read and dropped. Ends mv on a cancel.
std::string listen(const RunningMove& move, const CancelTest& cancel, bool* cancelled) {
    std::string text;
    char buffer[512];
    while (true) {
        pollfd waiting{move.complaints.get(), POLLIN, 0};
        const int ready = poll(&waiting, 1, kCancelInterval);
        if (!*cancelled && cancel.cancelled()) {
            *cancelled = true;
            kill(move.child, SIGTERM);
        }
        if (ready <= 0)
            continue;
        const ssize_t count = read_some(move.complaints.get(), buffer, sizeof buffer);
        if (count <= 0)
            return text;
        if (text.size() < kReasonSize)
            text.append(buffer, static_cast<std::size_t>(count));
    }
}

// 0 or errno.
int start_mv(const std::string& path, const std::string& target, RunningMove* move) {
    Pipe said;
    if (!open_pipe(said))
        return errno;
    move->complaints = std::move(said.read_end);
    const char* const arguments[] = {"mv", "--", path.c_str(), target.c_str(), nullptr};
    return SpawnSettings(said.write_end.get()).spawn("mv", const_cast<char* const*>(arguments), &move->child);
}

bool ended_well(pid_t child) {
    int status = 0;
    return TEMP_FAILURE_RETRY(waitpid(child, &status, 0)) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

// mv says "mv: cannot ...: REASON", the reason being what the system says, in the user's language.
std::string reason_in(const std::string& said) {
    const std::string line = said.substr(0, said.find('\n'));
    const std::size_t colon = line.rfind(": ");
    return colon == std::string::npos ? error_text(EIO) : line.substr(colon + 2);
}

// True when some entry below copy has no counterpart below original any more.
bool holds_more(const std::string& copy, const std::string& original) {
    bool more = false;
    const int walked = walk_tree(copy, [&](const WalkEntry& entry) {
        struct stat status {};
        more = entry.error_number != 0 ||
               lstat((original + entry.path.substr(copy.size())).c_str(), &status) != 0;
        return more ? -1 : 0;
    });
    return more || walked != 0;
}

}  // namespace

MoveEnd run_mv(const std::string& path, const std::string& target, const CancelTest& cancel,
               std::string* reason) {
    RunningMove move;
    const int start_error = start_mv(path, target, &move);
    if (start_error != 0) {
        *reason = error_text(start_error);
        return MoveEnd::failed;
    }
    bool cancelled = false;
    const std::string said = listen(move, cancel, &cancelled);
    if (!said.empty())
        (void)write_all(STDERR_FILENO, said.data(), said.size());
    if (ended_well(move.child))
        return MoveEnd::moved;
    *reason = reason_in(said);
    return cancelled ? MoveEnd::cancelled : MoveEnd::failed;
}

bool discard_copy(const std::string& folder, const std::string& path) {
    if (rmdir(folder.c_str()) == 0)
        return true;
    const std::string name = path.substr(path.find_last_of('/') + 1);
    const std::string copy = folder + "/" + name;
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || (S_ISDIR(status.st_mode) && holds_more(copy, path)))
        return false;
    (void)remove_tree(AT_FDCWD, folder, FolderRights::widen, nullptr);
    return true;
}

}  // namespace relay_hub
