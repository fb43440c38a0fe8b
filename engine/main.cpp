#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>

#include "base/diagnostics.h"
#include "base/instance_lock.h"
#include "base/worker.h"
#include "engine/engine_server.h"
#include "engine/folder/folder_file_system.h"
#include "engine/front_end_link.h"
#include "engine/offline_notifier.h"
#include "engine/options.h"

namespace {

using namespace relay_hub::engine;  // NOLINT(google-build-using-namespace)
using relay_hub::error_text;
using relay_hub::FileDescriptor;
using relay_hub::InstanceLock;
using relay_hub::StopToken;
using relay_hub::Worker;

constexpr char kCommandBase[] = "/tmp/ZEV_KorvaleMarrowglint";
constexpr char kNotifyBase[] = "/tmp/ZEV_KorvaleMarrowglintNotify";
constexpr char kEngineLock[] = "relay-hub-engine.lock";
constexpr int kCannotServe = 1;
constexpr int kWrongUsage = 2;

int complain(int status, const std::string& what) {
    std::fprintf(stderr, "relay-hub-engine: %s\n", what.c_str());
    return status;
}

// Blocked in every thread, so that they arrive at the descriptor alone.
FileDescriptor take_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGUSR2, SIGRTMIN})
        sigaddset(&signals, number);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    (void)std::signal(SIGPIPE, SIG_IGN);
    return FileDescriptor(signalfd(-1, &signals, SFD_CLOEXEC));
}

// Copies hold many files open until they are on the disk.
void raise_file_limit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);
}

// Returns when a signal or the server's end asks the engine to end.
void serve_signals(int signals, const StopToken& stop, LinkState& state, FrontEndLink& front_end,
                   OfflineNotifier& notifier) {
    while (true) {
        std::array<pollfd, 2> items{{{signals, POLLIN, 0}, {stop.descriptor(), POLLIN, 0}}};
        if (poll(items.data(), items.size(), -1) < 0 && errno != EINTR)
            return;
        if (items[1].revents != 0)
            return;
        signalfd_siginfo info{};
        if (items[0].revents == 0 || read(signals, &info, sizeof info) != sizeof info)
            continue;
        const int number = static_cast<int>(info.ssi_signo);
        if (number == SIGUSR1 || number == SIGUSR2) {
            state.remote_online = number == SIGUSR2;
            notifier.set_offline(number == SIGUSR1);
        } else if (number == SIGRTMIN) {
            // Not in the help: lets a test see how the front end takes a request from the remote side.
            std::printf("remote request %s\n",
                        front_end.ask_to_handle_remote_request() ? "taken" : "refused");
        } else {
            return;
        }
    }
}

int serve(const Options& options) {
    const FileDescriptor signals = take_signals();
    raise_file_limit();
    const auto remote = FolderFileSystem::open(options.folder, Reach::kBeneath, options.style);
    if (!remote)
        return complain(kWrongUsage, "--serve " + options.folder + ": " + error_text(errno));
    const auto local = FolderFileSystem::open("/", Reach::kWholeMachine, Style::kPosix);
    if (!local || !signals)
        return complain(kCannotServe, error_text(errno));
    std::string why;
    const InstanceLock lock(kEngineLock);
    if (lock.result() == InstanceLock::Result::held_by_another)
        return complain(kCannotServe,
                        "another engine of this user is running (it holds " + lock.path() + ")");
    if (lock.result() == InstanceLock::Result::failed)
        return complain(kCannotServe, lock.path() + ": " + error_text(lock.error()));

    StopToken stop;
    LinkState state;
    FrontEndLink front_end(kNotifyBase, stop, state);
    RequestHandlers handlers(*remote, *local, front_end, state);
    EngineServer server({kCommandBase, options.delay, options.chunk, options.quiet}, handlers, front_end,
                        stop);
    if (!server.create_pipes(why))
        return complain(kCannotServe, why);
    bool served = false;
    Worker serving;
    if (const int error = serving.start("the service", [&] { served = server.run(); }))
        return complain(kCannotServe, error_text(error));
    {
        OfflineNotifier notifier([&front_end] { return front_end.tell_remote_is_offline(); });
        serve_signals(signals.get(), stop, state, front_end, notifier);
        server.stop();
    }
    serving.join();
    return served ? 0 : kCannotServe;
}

}  // namespace

int main(int argc, char** argv) {
    (void)std::setlocale(LC_ALL, "");
    (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
    std::string wrong;
    const auto options = parse_options({argv + 1, argv + argc}, wrong);
    if (!options)
        return complain(kWrongUsage, wrong + "\nTry relay-hub-engine --help.");
    if (options->help || options->version) {
        const std::string text = options->help ? help_text() : version_text();
        return std::fputs(text.c_str(), stdout) < 0 ? kCannotServe : 0;
    }
    return serve(*options);
}
