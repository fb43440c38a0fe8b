// What the front end and its engine cost together: small requests, waiting, long requests, copies in both
// directions, progress reports. Usage: bench_engine FOLDER (on the disk to be measured; needs a display, and
// no other engine under /tmp).
#include <gtk/gtk.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <clocale>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "base/log.h"
#include "bench/measure.h"
#include "bench/peer.h"
#include "engine/front_end_link.h"
#include "link_engine/command_runner.h"
#include "link_engine/message_names.h"
#include "link_engine/request_builders.h"
#include "link_engine/request_items.h"
#include "name_pipe/name_pipe_base.h"
#include "side_function/Zev_right_side.h"
#include "side_function/link_probes.h"
#include "side_function/progress_updater.h"
#include "side_function/wire_path.h"
#include "ui/start_up.h"
#include "util/ansi_unicode_hex.h"
#include "util/copy_job.h"
#include "window/dialogs/file_read_write_dialog.h"
#include "window/ui_sets.h"
#include "window/window_thread.h"
#include "xml_doc/message_writer.h"
#include "xml_doc/zev_xml.h"
#include "xml_op/answer_readers.h"

namespace {

namespace fs = std::filesystem;
using bench::must;
using bench::Peer;
using bench::seconds_of;

constexpr std::size_t kBigBytes = std::size_t{1} << 30U;
constexpr int kSmallFiles = 10000;
constexpr int kFolders = 1000;
constexpr int kExchanges = 300;
constexpr int kCopyRounds = 5;
constexpr std::chrono::seconds kWaiting{10};

double cpu_seconds() {
    rusage used{};
    must(getrusage(RUSAGE_SELF, &used) == 0, "getrusage");
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

// ---- Long requests.

__send_args items(std::size_t count) {
    __send_args args;
    args.target_path = "/home/user/Documents/target";
    args.target_path_hex = relay_hub::unicode_hex(args.target_path);
    for (std::size_t item = 0; item < count; ++item) {
        const std::string path = "C:\\Users\\user\\Pictures\\holiday " + std::to_string(item) + ".jpeg";
        constexpr std::int64_t kTime = 132000000000000001;
        args.items.push_back({path, relay_hub::unicode_hex(path), {kFileItem, 1234567, kTime, kTime, kTime}});
    }
    return args;
}

std::string build(const __send_args& args) {
    relay_hub::MessageWriter message;
    message.add(wire::kCommand, wire::kRemoteToLocal);
    relay_hub::add_remote_to_local_items(message, args);
    return message.finish();
}

void load(CZEVXML& request, const std::string& text, std::size_t count) {
    must(request.LoadXML(text), "LoadXML");
    must(static_cast<std::size_t>(request.GetMRSCount(wire::kItems)) == count, "items");
}

// As the engine reads its items.
void query(CZEVXML& request, std::size_t count) {
    for (std::size_t item = 0; item < count; ++item) {
        const std::string record =
            std::string(wire::kItems) + "/" + wire::kRecord + "[" + std::to_string(item) + "]/";
        for (const char* tag :
             {wire::kRemotePath, wire::kRemotePathHex, wire::kLocalPath, wire::kLocalPathHex})
            must(!request.Query(record + tag).empty(), tag);
    }
}

struct LongRequest {
    double build;
    double load;
    double query;
};

LongRequest long_request(std::size_t count) {
    const __send_args args = items(count);
    std::vector<double> build_times;
    std::vector<double> load_times;
    std::vector<double> query_times;
    for (int round = 0; round < 7; ++round) {
        std::string text;
        CZEVXML request;
        build_times.push_back(bench::work_seconds_of([&] { text = build(args); }));
        load_times.push_back(bench::work_seconds_of([&] { load(request, text, count); }));
        query_times.push_back(bench::work_seconds_of([&] { query(request, count); }));
    }
    return {bench::best(build_times), bench::best(load_times), bench::best(query_times)};
}

void long_requests() {
    const LongRequest once = long_request(10000);
    const LongRequest twice = long_request(20000);
    constexpr struct {
        const char* name;
        double LongRequest::*work;
        double most;
    } kRows[] = {
        {"copy request of 10,000 items: build and serialise", &LongRequest::build, 25},
        {"copy request of 10,000 items: load", &LongRequest::load, 15},
        {"copy request of 10,000 items: query each item's paths", &LongRequest::query, 15},
    };
    for (const auto& row : kRows) {
        bench::print_limit(row.name, once.*row.work * 1000, "ms", row.most);
        bench::print_limit("  the same for 20,000, in times of 10,000", twice.*row.work / (once.*row.work),
                           "times", 2.6);
    }
}

// ---- Small requests.

void heartbeat() {
    __send_args args;
    args.command_code = kCodeHeartbeat;
    must(send_command_t(set_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, get_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, &args) == 0,
         "heartbeat");
}

void keep_on(pid_t process, const cpu_set_t& processors) {
    must(::sched_setaffinity(process, sizeof processors, &processors) == 0, "sched_setaffinity");
}

cpu_set_t one_processor(std::size_t number) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(number, &set);
    return set;
}

void small_requests(const fs::path& folder, pid_t engine) {
    const Peer peer(folder / "bare", std::string(60, 'x'));
    const auto ask = [&peer] { must(!peer.ask().empty(), "exchange"); };
    // What is left of a request when nothing is built, traced, checked or parsed: a thread that may wait for
    // the pipe, and a main loop that lives on meanwhile.
    const auto ask_beside_main_loop = [&ask] {
        std::atomic<bool> done = false;
        std::thread worker([&ask, &done] {
            ask();
            done = true;
            g_main_context_wakeup(nullptr);
        });
        while (!done)
            gtk_main_iteration();
        worker.join();
    };
    heartbeat();
    const bench::Pair times = bench::alternate(kExchanges, heartbeat, ask_beside_main_loop);
    bench::print_ratio("heartbeat / bare exchange on a thread beside the main loop",
                       bench::median(times.ours), bench::median(times.yardstick), 1.6);
    const auto compare = [&ask](const char* name, const std::function<void()>& exchange) {
        const bench::Pair pair = bench::alternate(kExchanges, exchange, ask);
        bench::print_comparison(name, bench::median(pair.ours), bench::median(pair.yardstick));
    };
    compare("  a bare exchange on a thread beside the main loop / bare exchange", ask_beside_main_loop);
    if (std::thread::hardware_concurrency() < 2)
        return;
    // Where the scheduler puts two processes that wait for each other is its own affair: both ways are shown.
    cpu_set_t usual;
    must(::sched_getaffinity(0, sizeof usual, &usual) == 0, "sched_getaffinity");
    const auto compare_on = [&](std::size_t processor, const char* name) {
        keep_on(0, one_processor(0));
        for (const pid_t other : {engine, peer.process()})
            keep_on(other, one_processor(processor));
        compare(name, heartbeat);
    };
    compare_on(0, "  heartbeat / bare exchange, both processes on one processor");
    compare_on(1, "  heartbeat / bare exchange, each on a processor of its own");
    keep_on(0, usual);
    keep_on(engine, usual);
}

void waiting(const fs::path& folder) {
    const Peer peer(folder / "slow", "<ZEVMSG><T1>x</T1></ZEVMSG>", kWaiting);
    relay_hub::set_command_pipe_for_tests(folder / "slow");
    const double before = cpu_seconds();
    __send_args args;
    (void)send_command_t(set_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, get_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, &args);
    bench::print_limit("waiting for an answer for 10 s: processor time", (cpu_seconds() - before) * 1000,
                       "ms", 5);
    relay_hub::set_command_pipe_for_tests("");
}

// Pipes that a dead engine left behind: nobody opens the other end.
void waiting_for_an_engine(const fs::path& folder) {
    const std::string base = folder / "left";
    for (const char* end : {"_IN", "_OUT"})
        must(::mkfifo((base + end).c_str(), 0600) == 0, "mkfifo");
    relay_hub::set_command_pipe_for_tests(base);
    const double before = cpu_seconds();
    __send_args args;
    args.timeout_seconds = static_cast<int>(kWaiting.count());
    (void)send_command_t(set_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, get_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, &args);
    bench::print_limit("waiting for an engine for 10 s: processor time", (cpu_seconds() - before) * 1000,
                       "ms", 5);
    relay_hub::set_command_pipe_for_tests("");
}

// ---- Copies.

class EngineProcess {
  public:
    EngineProcess(const fs::path& program, const fs::path& served) : program_(program), child_(::fork()) {
        if (child_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::execl(program.c_str(), program.c_str(), "--serve", served.c_str(), "--style", "posix",
                    "--quiet", static_cast<char*>(nullptr));
            ::_exit(127);
        }
    }
    EngineProcess(const EngineProcess&) = delete;
    EngineProcess& operator=(const EngineProcess&) = delete;
    [[nodiscard]] pid_t process() const { return child_; }
    // Waits for its pipes. Ends this program where the engine ends, or is not there.
    void must_have_begun() const {
        const auto limit = std::chrono::steady_clock::now() + kWaiting;
        while (!fs::exists(std::string(kCommandPipe) + "_OUT")) {
            const bool lives = ::waitpid(child_, nullptr, WNOHANG) == 0;
            if (!lives || std::chrono::steady_clock::now() > limit) {
                (void)std::fprintf(bench::rows(), "%s %s\n", program_.c_str(),
                                   lives ? "makes no pipes" : "does not run");
                std::exit(1);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    ~EngineProcess() {
        ::kill(child_, SIGTERM);
        ::waitpid(child_, nullptr, 0);
    }

  private:
    fs::path program_;
    pid_t child_;
};

void copy_by_engine(command_start_t start, command_finish_t finish, const std::string& source,
                    const std::string& target) {
    __send_args args;
    args.items = {{source, relay_hub::unicode_hex(source), {kFolderItem}}};
    args.target_path = target;
    args.target_path_hex = relay_hub::unicode_hex(target);
    must(send_command_t(start, finish, &args) == 0, source.c_str());
}

void copy_locally(const std::string& source, const std::string& target) {
    const relay_hub::TaskListPtr job(new_task_list());
    job->items = {source};
    job->folder = target;
    Gfile_local_copy(job.get());
    must(job->failures.empty(), source.c_str());
}

struct CopySet {
    const char* name;
    const char* source;
};
constexpr CopySet kCopySets[] = {
    {"1 GiB file", "big"}, {"10,000 files of 4 KiB", "small"}, {"1,000 nested folders", "nested"}};

void make_copy_sets(const fs::path& served) {
    const std::string block(std::size_t{1} << 20U, 'x');
    std::ofstream big(served / "big", std::ios::binary);
    for (std::size_t written = 0; written < kBigBytes; written += block.size())
        big.write(block.data(), static_cast<std::streamsize>(block.size()));
    fs::create_directories(served / "small");
    for (int index = 0; index < kSmallFiles; ++index)
        std::ofstream(served / "small" / std::to_string(index)).write(block.data(), 4096);
    fs::path deep = served / "nested";
    for (int depth = 0; depth < kFolders; ++depth)
        fs::create_directory(deep), deep /= "d";
}

// Each copy goes to a folder of its own: just after a mass removal the file system searches long.
class Copies {
  public:
    explicit Copies(fs::path served) : served_(std::move(served)) {}

    void measure(const CopySet& set) {
        std::vector<double> to_local;
        std::vector<double> to_remote;
        std::vector<double> plain;
        for (int round = 0; round < kCopyRounds; ++round) {
            plain.push_back(
                timed(set.source, [&](const fs::path& out) { copy_locally(served_ / set.source, out); }));
            to_local.push_back(to_local_time(set.source));
            to_remote.push_back(to_remote_time(set.source));
        }
        const std::string name(set.name);
        bench::print_ratio((name + ": engine, remote to local / local copy").c_str(), bench::best(to_local),
                           bench::best(plain), 1.5);
        bench::print_ratio((name + ": engine, local to remote / local copy").c_str(), bench::best(to_remote),
                           bench::best(plain), 1.5);
    }

    // Twice the files take twice the time.
    void twice_as_many() {
        const fs::path twice = served_ / "twice";
        fs::create_directory(twice);
        for (int index = 0; index < 2 * kSmallFiles; ++index)
            fs::create_hard_link(served_ / "small" / std::to_string(index / 2),
                                 twice / std::to_string(index));
        compare_times("20,000 files of 4 KiB, remote to local / 10,000 of them", &Copies::to_local_time);
        compare_times("20,000 files of 4 KiB, local to remote / 10,000 of them", &Copies::to_remote_time);
    }

  private:
    void compare_times(const char* name, double (Copies::*time)(const std::string&)) {
        std::vector<double> twice;
        std::vector<double> once;
        for (int round = 0; round < kCopyRounds; ++round) {
            twice.push_back((this->*time)("twice"));
            once.push_back((this->*time)("small"));
        }
        bench::print_ratio(name, bench::best(twice), bench::best(once), 2.5);
    }

    double to_local_time(const std::string& source) {
        return timed(source, [&](const fs::path& out) {
            copy_by_engine(set_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL, get_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL,
                           "/" + source, out);
        });
    }
    double to_remote_time(const std::string& source) {
        return timed(source, [&](const fs::path& out) {
            copy_by_engine(set_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE, get_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE,
                           served_ / source, "/" + out.lexically_relative(served_).string());
        });
    }

    double timed(const std::string& source, const std::function<void(const fs::path&)>& copy) {
        const fs::path out = served_ / ("out" + std::to_string(++outs_));
        fs::create_directory(out);
        ::sync();
        const double time = seconds_of([&] { copy(out); });
        if (source == "big")
            fs::remove_all(out);
        return time;
    }

    fs::path served_;
    int outs_ = 0;
};

void copies(const fs::path& served) {
    make_copy_sets(served);
    Copies copies(served);
    for (const CopySet& set : kCopySets)
        copies.measure(set);
    copies.twice_as_many();
}

// ---- Progress reports.

constexpr int kReports = 1000;
constexpr std::chrono::milliseconds kReportPause{5};

[[noreturn]] void report_progress() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    (void)std::signal(SIGPIPE, SIG_IGN);
    const relay_hub::StopToken stop;
    const std::atomic<bool> remote_online = true;
    relay_hub::engine::FrontEndLink link(kNotifyPipe, stop, remote_online);
    auto next = std::chrono::steady_clock::now();
    for (int number = 0; number < kReports; ++number) {
        relay_hub::engine::Progress report;
        report.item = "/photos/holiday " + std::to_string(number / 10) + ".jpeg";
        report.total = kReports;
        report.how_far = std::to_string(number) + " items";
        report.done = static_cast<std::uint64_t>(number);
        link.progress(report);
        next += kReportPause;
        std::this_thread::sleep_until(next);
    }
    ::_exit(0);
}

void progress_reports() {
    UI* ui = get_UI_sets();
    ui->main_window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_widget_show_all(ui->main_window);
    int state = kStateRunning;
    int kind = TASK_COPY;
    relay_hub::ProgressDialog dialog(&state, &kind, update_dialog_info);
    const pid_t child = ::fork();
    if (child == 0)
        report_progress();
    const double before = cpu_seconds();
    bool ended = false;
    const double time = seconds_of([&] {
        while (!ended) {
            (void)g_timeout_add(
                50, [](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr);
            gtk_main_iteration();
            ended = ::waitpid(child, nullptr, WNOHANG) == child;
        }
    });
    const double used = cpu_seconds() - before;
    dialog.close();
    bench::print_least("progress call-backs served", kReports / time, "a second", 180);
    bench::print_limit("  processor time of the front end meanwhile", used / time * 100, "% of a core", 10);
}

void run(const fs::path& folder, const fs::path& engine_program) {
    const fs::path served = folder / "served";
    fs::create_directories(served);
    if (bench::is_wanted("long"))
        long_requests();
    if (bench::is_wanted("waiting")) {
        waiting(folder);
        waiting_for_an_engine(folder);
    }
    CNamePipeBase listener;
    CNamePipeBase::SetupParam(kNotifyPipe, kPipeBufferSize, kPipeBufferSize);
    must(listener.ListenForService(), "listener");
    {
        const EngineProcess engine(engine_program, served);
        engine.must_have_begun();
        if (bench::is_wanted("small"))
            small_requests(folder, engine.process());
        if (bench::is_wanted("copies"))
            copies(served);
    }
    if (bench::is_wanted("progress"))
        progress_reports();
    (void)listener.ExitListenService();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const fs::path folder = fs::absolute(argv[1]) / "relay-hub-bench-engine";
    fs::remove_all(folder);
    fs::create_directories(folder);
    bench::silence_traces();
    theLog.SetFile(kPipeTracePath, false);
    gdk_threads_init();
    gtk_init(&argc, &argv);
    relay_hub::remember_window_thread();
    const auto listing_watcher = relay_hub::install_window_services();
    gdk_threads_enter();
    run(folder, fs::absolute(argv[0]).parent_path() / "relay-hub-engine");
    gdk_threads_leave();
    return 0;
}
