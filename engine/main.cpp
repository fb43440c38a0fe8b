#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>

#include "base/diagnostics.h"
#include "base/instance_lock.h"
#include "base/option_reader.h"
#include "base/program_locale.h"
#include "base/translated_text.h"
#include "base/worker.h"
#include "engine/connected_computer.h"
#include "engine/engine_server.h"
#include "engine/folder/folder_file_system.h"
#include "engine/front_end_link.h"
#include "engine/link_status.h"
#include "engine/offline_notifier.h"
#include "engine/options.h"
#include "name_pipe/name_pipe_base.h"

namespace {

using namespace relay_hub::engine;  // NOLINT(google-build-using-namespace)
using relay_hub::error_text;
using relay_hub::FileDescriptor;
using relay_hub::InstanceLock;
using relay_hub::StopToken;
using relay_hub::Worker;

constexpr char kEngineLock[] = "relay-hub-engine.lock";
constexpr int kCannotServe = 1;
constexpr int kWrongUsage = 2;
constexpr std::chrono::milliseconds kEndLimit{1500};

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

// What the end of the engine and of the link has to do with.
struct Control {
    StopToken stop;
    std::atomic<bool> remote_online = true;  // set where signals are served or by the link, read anywhere
    FrontEndLink front_end{kNotifyPipe, stop, remote_online};
    OfflineNotifier notifier{[this] { return front_end.tell_remote_is_offline(); }};
};

// Returns when a signal or the server's end asks the engine to end.
void serve_signals(int signals, Control& control) {
    while (true) {
        std::array<pollfd, 2> items{{{signals, POLLIN, 0}, {control.stop.descriptor(), POLLIN, 0}}};
        if (poll(items.data(), items.size(), -1) < 0 && errno != EINTR)
            return;
        if (items[1].revents != 0)
            return;
        signalfd_siginfo info{};
        if (items[0].revents == 0 || read(signals, &info, sizeof info) != sizeof info)
            continue;
        const int number = static_cast<int>(info.ssi_signo);
        if (number == SIGUSR1 || number == SIGUSR2) {
            control.remote_online = number == SIGUSR2;
            control.notifier.set_offline(number == SIGUSR1);
        } else if (number == SIGRTMIN) {
            // Not in the help: lets a test see how the front end takes a request from the remote side.
            std::printf("remote request %s\n",
                        control.front_end.ask_to_handle_remote_request() ? "taken" : "refused");
        } else {
            return;
        }
    }
}

// Something hangs in the system, a file of a dead server for one, and uses all there is: nothing is torn
// down.
[[noreturn]] void leave_behind(EngineServer& server) {
    (void)complain(0, relay_hub::translated("IDS_MSG_REQUEST_HANGS"));
    server.remove_pipes();
    (void)std::fflush(stdout);
    _exit(0);
}

bool take_lock(const InstanceLock& lock) {
    if (lock.result() == InstanceLock::Result::held_by_another)
        (void)complain(kCannotServe, relay_hub::fill_translated("IDS_MSG_ENGINE_RUNNING", {lock.path()}));
    if (lock.result() == InstanceLock::Result::failed)
        (void)complain(kCannotServe, lock.path() + ": " + error_text(lock.error()));
    return lock.result() == InstanceLock::Result::taken;
}

using TreeFactory = std::function<std::unique_ptr<RemoteFileSystem>()>;

// Serves such trees until a signal or stop ends that. start_link is called once requests can come.
int serve_trees(const Options& options, int signals, Control& control, const TreeFactory& make_remote,
                const std::function<int()>& start_link) {
    const auto whole_machine = FolderFileSystem::open("/", Reach::kWholeMachine, Style::kPosix);
    if (!whole_machine)
        return complain(kCannotServe, error_text(errno));
    const HiddenFiles hidden = options.hidden ? HiddenFiles::kListed : HiddenFiles::kLeftOut;
    const auto make_handlers = [&] {
        return std::make_shared<RequestHandlers>(make_remote(), whole_machine->another(), control.front_end,
                                                 control.remote_online, hidden);
    };
    EngineServer server({kCommandPipe, options.delay, options.chunk, options.quiet}, make_handlers,
                        control.front_end, control.stop);
    std::string why;
    if (!server.create_pipes(why))
        return complain(kCannotServe, why);
    bool served = false;
    Worker serving;
    int error = serving.start("the service", [&] { served = server.run(); });
    if (error == 0)
        error = start_link();
    if (error == 0)
        serve_signals(signals, control);
    if (!server.stop(kEndLimit))
        leave_behind(server);
    serving.join();
    return error != 0 ? complain(kCannotServe, error_text(error)) : served ? 0 : kCannotServe;
}

int serve_folder(const Options& options, int signals, Control& control, const LinkStatus& status) {
    const Style style = options.style.value_or(Style::kWindows);
    const auto remote = FolderFileSystem::open(options.folder, Reach::kBeneath, style);
    if (!remote) {
        const std::string why = "--serve " + options.folder + ": " + error_text(errno);
        status.failed("other", why);
        return complain(kWrongUsage, why);
    }
    return serve_trees(
        options, signals, control, [&] { return remote->another(); },
        [&] {
            status.connected(style, "", wire_path(style, ""));
            return 0;
        });
}

int serve_computer(const Options& options, int signals, Control& control, const LinkStatus& status) {
    std::atomic<bool> gave_up{false};
    ConnectedComputer computer(
        *options.computer, options.style,
        {control.remote_online, status, [&](bool offline) { control.notifier.set_offline(offline); },
         [&] {
             gave_up = true;
             control.stop.stop();
         }});
    const int result = serve_trees(
        options, signals, control, [&] { return computer.make_tree(); }, [&] { return computer.start(); });
    computer.stop();
    return gave_up ? kCannotServe : result;
}

int serve(const Options& options) {
    const FileDescriptor signals = take_signals();
    raise_file_limit();
    if (!signals)
        return complain(kCannotServe, error_text(errno));
    const InstanceLock lock(kEngineLock);
    if (!take_lock(lock))
        return kCannotServe;
    const LinkStatus status{FileDescriptor(options.status_descriptor)};
    Control control;
    return options.computer ? serve_computer(options, signals.get(), control, status)
                            : serve_folder(options, signals.get(), control, status);
}

}  // namespace

int main(int argc, char** argv) {
    relay_hub::enter_language();
    (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
    std::string wrong;
    const auto options = parse_options({argv + 1, argv + argc}, wrong);
    if (!options)
        return complain(kWrongUsage, relay_hub::refusal(wrong, "relay-hub-engine"));
    if (const std::string text = text_asked_for(*options); !text.empty())
        return std::fputs(text.c_str(), stdout) < 0 ? kCannotServe : 0;
    return serve(*options);
}
