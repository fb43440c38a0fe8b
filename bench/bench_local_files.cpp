// Benchmarks of the local file operations: each against a yardstick measured alternately in the same run, so
// that the ratios hold on any machine. Usage: bench_local_files FOLDER (on the disk to be measured).
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "base/file_descriptor.h"
#include "bench/measure.h"
#include "util/ansi_unicode_hex.h"
#include "util/copy_job.h"
#include "util/delete_job.h"
#include "util/sorted_folder.h"

namespace {

namespace fs = std::filesystem;
using bench::best;
using bench::must;
using bench::seconds_of;
using relay_hub::FileDescriptor;

constexpr int kRounds = 7;
constexpr std::size_t kSmallFiles = 10000;
constexpr std::size_t kNestedFolders = 1000;
constexpr std::size_t kTrashedFiles = 1000;
constexpr std::size_t kListedFiles = 100000;
constexpr std::size_t kBigBytes = std::size_t{1} << 30U;
constexpr std::size_t kPlainBuffer = 32768;

// Measures ours and the yardstick in turn, each after a sync.
void compare(const char* name, double target, const std::function<void()>& ours,
             const std::function<void()>& yardstick, const std::function<void()>& clean) {
    const bench::Pair times = bench::alternate(kRounds, ours, yardstick, [&] {
        clean();
        ::sync();
    });
    bench::print_ratio(name, best(times.ours), best(times.yardstick), target);
}

void copy_plainly(const std::string& src, const std::string& dst) {
    const FileDescriptor source(open(src.c_str(), O_RDONLY | O_CLOEXEC));
    const FileDescriptor target(open(dst.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    must(source && target, "open");
    char buffer[kPlainBuffer];
    ssize_t count = 0;
    while ((count = read(source.get(), buffer, sizeof buffer)) > 0)
        must(relay_hub::write_all(target.get(), buffer, static_cast<std::size_t>(count)) == 0, "write");
    must(fsync(target.get()) == 0, "fsync");
}

void run_program(std::vector<const char*> arguments) {
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        execvp(arguments[0], const_cast<char* const*>(arguments.data()));
        _exit(127);
    }
    int status = 0;
    must(waitpid(child, &status, 0) == child && status == 0, arguments[0]);
}

relay_hub::TaskListPtr make_job(const std::string& source, const std::string& folder) {
    relay_hub::TaskListPtr job(new_task_list());
    job->items = {source};
    job->folder = folder;
    return job;
}

void copy_with_job(const std::string& source, const std::string& folder) {
    const relay_hub::TaskListPtr job = make_job(source, folder);
    Gfile_local_copy(job.get());
    must(job->failures.empty(), "copy job");
}

void fill_file(const fs::path& path, std::size_t size) {
    std::ofstream file(path, std::ios::binary);
    const std::string block(std::min<std::size_t>(size, 1U << 20U), 'x');
    for (std::size_t written = 0; written < size; written += block.size())
        file.write(block.data(), static_cast<std::streamsize>(block.size()));
}

// What no trash of this layout can do without: the entry's facts, its folder, the move, the info file.
void put_by_needed_calls(int trash, const std::string& path, const std::string& name) {
    struct stat status {};
    must(lstat(path.c_str(), &status) == 0, "lstat");
    must(mkdirat(trash, name.c_str(), 0755) == 0, "mkdirat");
    const std::string inner = name + "/" + name;
    must(renameat2(AT_FDCWD, path.c_str(), trash, inner.c_str(), RENAME_NOREPLACE) == 0, "renameat2");
    const FileDescriptor info(
        openat(trash, (name + ".info").c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0664));
    must(info && relay_hub::write_all(info.get(), path.data(), path.size()) == 0, "info file");
}

class Bench {
  public:
    explicit Bench(const fs::path& folder) : root_(folder / "relay-hub-bench") {
        fs::create_directories(root_ / "small");
        fill_file(root_ / "big", kBigBytes);
        for (std::size_t index = 0; index < kSmallFiles; ++index)
            fill_file(root_ / "small" / std::to_string(index), 4096);
    }

    void big_file() {
        const std::string big = root_ / "big";
        const auto ours = [&] { copy_with_job(big, out_); };
        const auto clean = [&] { new_out_without_big(); };
        compare(
            "1 GiB file / cp -a and sync", 1.1, ours,
            [&] {
                run_program({"cp", "-a", big.c_str(), out_.c_str()});
                run_program({"sync", (out_ / "big").c_str()});
            },
            clean);
        compare(
            "1 GiB file / 32 KiB loop and fsync", 1.15, ours, [&] { copy_plainly(big, out_ / "big"); },
            clean);
    }

    void small_files() {
        const std::string source = root_ / "small";
        compare(
            "10,000 files of 4 KiB / loop with an fsync each", 0.4, [&] { copy_with_job(source, out_); },
            [&] {
                fs::create_directory(out_ / "small");
                for (std::size_t index = 0; index < kSmallFiles; ++index)
                    copy_plainly(root_ / "small" / std::to_string(index),
                                 out_ / "small" / std::to_string(index));
            },
            [&] { new_out(); });
    }

    void nested_folders() {
        fs::path deep = root_ / "nested";
        for (std::size_t depth = 0; depth < kNestedFolders; ++depth, deep /= "d")
            fs::create_directory(deep);
        const std::string source = root_ / "nested";
        compare(
            "1,000 nested folders / cp -a and sync", 1.1, [&] { copy_with_job(source, out_); },
            [&] {
                run_program({"cp", "-a", source.c_str(), out_.c_str()});
                run_program({"sync", "-f", out_.c_str()});
            },
            [&] { new_out(); });
    }

    // Twice the files take twice the time.
    void twice_as_many() {
        const fs::path twice = root_ / "twice";
        fs::create_directory(twice);
        for (std::size_t index = 0; index < 2 * kSmallFiles; ++index)
            fs::create_hard_link(root_ / "small" / std::to_string(index / 2), twice / std::to_string(index));
        compare(
            "20,000 files of 4 KiB / 10,000 of them", 2.5, [&] { copy_with_job(twice, out_); },
            [&] { copy_with_job(root_ / "small", out_); }, [&] { new_out(); });
    }

    void trash() {
        std::vector<std::string> names;
        for (std::size_t index = 0; index < kTrashedFiles; ++index)
            names.push_back(std::to_string(index));
        const auto ours = [&] {
            const relay_hub::TaskListPtr job(new_task_list());
            job->folder = out_;
            job->items = names;
            Gfile_local_delete(job.get());
            must(job->failures.empty(), "delete job");
        };
        const auto clean = [&] {
            new_out();
            fs::create_directory(out_ / "trash");
            for (const std::string& name : names)
                fill_file(out_ / name, 0);
        };
        compare(
            "trash 1,000 entries / bare renames", 3.0, ours,
            [&] {
                for (const std::string& name : names)
                    fs::rename(out_ / name, out_ / "trash" / name);
            },
            clean);
        compare(
            "trash 1,000 entries / the needed calls alone", 1.5, ours,
            [&] {
                const FileDescriptor folder(open((out_ / "trash").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
                for (const std::string& name : names)
                    put_by_needed_calls(folder.get(), out_ / name, name);
            },
            clean);
    }

    // The longest time from a cancel to the job's end, in the middle of the big file.
    void cancel() {
        double worst = 0;
        for (int round = 0; round < kRounds; ++round) {
            new_out_without_big();
            const relay_hub::TaskListPtr job = make_job(root_ / "big", out_);
            std::thread worker([&] { Gfile_local_copy(job.get()); });
            std::this_thread::sleep_for(std::chrono::milliseconds(100 + 150 * round));
            worst = std::max(worst, seconds_of([&] {
                                 cancel_atomic(&job->state);
                                 worker.join();
                             }));
        }
        bench::print_limit("cancel in a 1 GiB file, worst", worst * 1000, "ms", 300);
    }

    void listing() {
        const fs::path folder = root_ / "many";
        fs::create_directory(folder);
        for (std::size_t index = 0; index < kListedFiles; ++index)
            fill_file(folder / ("file " + std::to_string(index) + ".txt"), 0);
        compare(
            "list 100,000 entries in order / ls -l, unsorted", 2.0,
            [&] {
                relay_hub::SortedFolder sorted(folder);
                must(sorted.size() == kListedFiles, "folder");
                for (std::size_t index = 0; index < kListedFiles; ++index)
                    must(!sorted.entry(index).vanished, "entry");
            },
            [&] {
                run_program({"sh", "-c", "ls -lnU \"$0\" >/dev/null", folder.c_str()});
            },
            [] {});
    }

  private:
    // A new folder each time instead of an emptied one: see scripts/bench.
    void new_out() {
        out_ = root_ / ("out" + std::to_string(++outs_));
        fs::create_directory(out_);
    }
    void new_out_without_big() {
        fs::remove(out_ / "big");
        new_out();
    }

    fs::path root_;
    fs::path out_;
    int outs_ = 0;
};

void unicode_hex() {
    constexpr unsigned kMegabytes = 64;
    for (const auto& [name, piece] : {std::pair{"ASCII", "a name.txt"}, std::pair{"CJK", "文件名"}}) {
        std::string text;
        while (text.size() < std::size_t{kMegabytes} << 20U)
            text += piece;
        std::string hex;
        std::vector<double> encode;
        std::vector<double> decode;
        for (int round = 0; round < kRounds; ++round) {
            encode.push_back(seconds_of([&] { hex = relay_hub::unicode_hex(text); }));
            decode.push_back(
                seconds_of([&] { must(relay_hub::text_from_unicode_hex(hex) == text, "decode"); }));
        }
        const std::string row = std::string("unicode hex, ") + name;
        bench::print_least((row + ": encode").c_str(), kMegabytes / best(encode), "MB/s of text", 100);
        bench::print_least((row + ": decode").c_str(), kMegabytes / best(decode), "MB/s of text", 100);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || !fs::is_directory(argv[1])) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    std::setlocale(LC_ALL, "C.UTF-8");
    must(setenv("HOME", argv[1], 1) == 0, "HOME");  // where the trash is
    bench::silence_traces();
    unicode_hex();
    Bench bench(argv[1]);
    bench.trash();
    bench.big_file();
    bench.small_files();
    bench.twice_as_many();
    bench.nested_folders();
    bench.cancel();
    bench.listing();
    return 0;
}
