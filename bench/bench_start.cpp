// How soon the window is on the screen, what memory it takes, and what it costs when nothing happens, with an
// engine at the other end. Needs a display, and no other engine or window under /tmp.
#include <X11/Xlib.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/measure.h"

namespace {

namespace fs = std::filesystem;
using bench::must;

constexpr int kRounds = 7;
constexpr int kLeastWidth = 600;  // wider than any dialog
constexpr int kLimit = 20000;     // ms
constexpr std::chrono::seconds kSettling{2};
constexpr std::chrono::seconds kIdle{10};

class Program {
  public:
    Program(const fs::path& folder, std::vector<std::string> arguments) : child_(::fork()) {
        if (child_ != 0)
            return;
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        std::vector<char*> pointers;
        pointers.reserve(arguments.size() + 1);
        for (std::string& argument : arguments)
            pointers.push_back(argument.data());
        pointers.push_back(nullptr);
        must(::chdir(folder.c_str()) == 0, "chdir");
        ::execv(pointers[0], pointers.data());
        ::_exit(127);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }

    [[nodiscard]] double resident_mib() const {
        std::ifstream status("/proc/" + std::to_string(child_) + "/status");
        std::string word;
        double kilobytes = 0;
        while (status >> word)
            if (word == "VmRSS:" && status >> kilobytes)
                break;
        return kilobytes / 1024;
    }
    // All threads, those that have ended too.
    [[nodiscard]] double cpu_seconds() const {
        clockid_t clock{};
        timespec used{};
        must(::clock_getcpuclockid(child_, &clock) == 0 && ::clock_gettime(clock, &used) == 0, "cpu clock");
        return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
    }

  private:
    pid_t child_;
};

// One connection for the whole run: without any client the X server would start anew.
class ShownWindows {
  public:
    ShownWindows() : display_(::XOpenDisplay(nullptr)) {
        must(display_ != nullptr, "display");
        ::XSelectInput(display_, DefaultRootWindow(display_), SubstructureNotifyMask);
        ::XSync(display_, True);
    }
    ShownWindows(const ShownWindows&) = delete;
    ShownWindows& operator=(const ShownWindows&) = delete;
    ~ShownWindows() { ::XCloseDisplay(display_); }

    // What is shown from now on counts.
    void forget() { ::XSync(display_, True); }
    void await_window() {
        for (;;) {
            while (::XPending(display_) == 0) {
                pollfd connection{ConnectionNumber(display_), POLLIN, 0};
                must(::poll(&connection, 1, kLimit) == 1, "no window");
            }
            XEvent event{};
            ::XNextEvent(display_, &event);
            XWindowAttributes attributes{};
            if (event.type == MapNotify &&
                ::XGetWindowAttributes(display_, event.xmap.window, &attributes) != 0 &&
                attributes.width >= kLeastWidth)
                return;
        }
    }

  private:
    Display* display_;
};

// A window may go while it is being asked about.
int ignore_error(Display*, XErrorEvent*) {
    return 0;
}

double time_to_window(ShownWindows& screen, const fs::path& folder, const std::string& program) {
    screen.forget();
    const auto start = std::chrono::steady_clock::now();
    const Program run(folder, {program});
    screen.await_window();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void start(ShownWindows& screen, const fs::path& build) {
    bench::Pair times;
    for (int round = 0; round < kRounds; ++round) {
        times.ours.push_back(time_to_window(screen, build, build / "bin/relay-hub"));
        times.yardstick.push_back(time_to_window(screen, build, build / "bin/two_panes"));
    }
    bench::print_ratio("start to window on the screen / bare window of two panes", bench::best(times.ours),
                       bench::best(times.yardstick), 1.5);
}

bool remote_pane_listed() {
    std::ifstream log("/tmp/Pondmark.log");
    const std::string events(std::istreambuf_iterator<char>(log), {});
    return events.find("GET_FILE_LIST Receive") != std::string::npos;
}

void idle(ShownWindows& screen, const fs::path& build) {
    screen.forget();
    const Program window(build, {build / "bin/relay-hub"});
    screen.await_window();
    std::this_thread::sleep_for(kSettling);
    const double resident = window.resident_mib();
    screen.forget();
    const Program bare(build, {build / "bin/two_panes"});
    screen.await_window();
    std::this_thread::sleep_for(kSettling);
    bench::print_limit("resident memory after 2 s", resident, "MiB", 26);
    (void)std::fprintf(bench::rows(), "  (the bare window: %.3f MiB)\n", bare.resident_mib());
    for (int tries = 0; !remote_pane_listed(); ++tries) {
        must(tries < 200, "the remote pane was not listed");
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    std::this_thread::sleep_for(kSettling);
    const double before = window.cpu_seconds();
    std::this_thread::sleep_for(kIdle);
    bench::print_limit("idle for 10 s, both panes listed: processor time",
                       (window.cpu_seconds() - before) * 1000, "ms", 5);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const fs::path build = fs::absolute(argv[0]).parent_path().parent_path();
    const fs::path folder = fs::absolute(argv[1]) / "relay-hub-bench-start";
    fs::create_directories(folder / "home");
    fs::create_directories(folder / "served");
    for (int index = 0; index < 100; ++index) {
        for (const char* side : {"home", "served"})
            const std::ofstream empty(folder / side / ("file " + std::to_string(index)));
    }
    ::setenv("HOME", (folder / "home").c_str(), 1);
    bench::silence_traces();
    ::XSetErrorHandler(ignore_error);
    {
        const Program engine(build,
                             {build / "bin/relay-hub-engine", "--serve", folder / "served", "--quiet"});
        ShownWindows screen;
        start(screen, build);
        idle(screen, build);
    }
    return 0;
}
