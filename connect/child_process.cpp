#include "connect/child_process.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <utility>

#include "base/glib_owners.h"

namespace relay_hub::connect {
namespace {

constexpr int kSignalStatusBase = 128;

struct Preparation {
    pid_t parent;
    int signal_when_orphaned;
};

// Between fork and exec: nothing but plain system calls.
void prepare(gpointer data) {
    const auto* preparation = static_cast<const Preparation*>(data);
    prctl(PR_SET_PDEATHSIG, preparation->signal_when_orphaned);
    // The parent may have died before the request was made.
    if (getppid() != preparation->parent)
        _exit(1);
}

}  // namespace

std::string ChildProcess::start(const ProgramToStart& program, Ended ended) {
    std::vector<const char*> words;
    std::ranges::transform(program.words, std::back_inserter(words),
                           [](const auto& word) { return word.c_str(); });
    words.push_back(nullptr);
    Preparation preparation{getpid(), program.signal_when_orphaned};
    const int target = kStatusDescriptor;
    GError* error = nullptr;
    const bool started =
        g_spawn_async_with_pipes_and_fds(
            nullptr, words.data(), nullptr, G_SPAWN_DO_NOT_REAP_CHILD, prepare, &preparation, -1, -1,
            program.error_descriptor, &program.status_descriptor, &target,
            program.status_descriptor >= 0 ? 1 : 0, &pid_, nullptr, nullptr, nullptr, &error) != FALSE;
    if (!started) {
        const GErrorPtr owned(error);
        pid_ = 0;
        return owned->message;
    }
    ended_ = std::move(ended);
    watch_ = g_child_watch_add(pid_, on_exit, this);
    return {};
}

void ChildProcess::send_signal(int number) const {
    if (running())
        (void)kill(pid_, number);
}

void ChildProcess::on_exit(GPid, gint wait_status, gpointer self) {
    auto* child = static_cast<ChildProcess*>(self);
    child->pid_ = 0;
    child->watch_ = 0;
    std::exchange(child->ended_, nullptr)(wait_status);
}

ChildProcess::~ChildProcess() {
    if (!running())
        return;
    g_source_remove(watch_);
    send_signal(SIGKILL);
    (void)waitpid(pid_, nullptr, 0);
}

int exit_status_of(int wait_status) {
    return WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : kSignalStatusBase + WTERMSIG(wait_status);
}

}  // namespace relay_hub::connect
