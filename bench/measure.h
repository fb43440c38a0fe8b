// What the benchmarks share: times, and one printed row a figure. Everything is told on standard error,
// because the rooms that are measured trace on standard output.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace bench {

// Whether a part of a benchmark is to run: all of them, but where RELAY_HUB_BENCH_PARTS names some.
inline bool is_wanted(const std::string& part) {
    const char* const named = std::getenv("RELAY_HUB_BENCH_PARTS");
    std::istringstream words(named != nullptr ? named : part);
    for (std::string word; words >> word;)
        if (word == part)
            return true;
    return false;
}

// Where standard output led when the program began.
inline std::FILE* rows() {
    static std::FILE* const stream = ::fdopen(::dup(STDOUT_FILENO), "w");
    return stream;
}

inline void must(bool good, const char* what) {
    if (good)
        return;
    (void)std::fprintf(rows(), "%s: %s\n", what, std::strerror(errno));
    (void)std::fflush(rows());
    std::exit(1);
}

// Call first. Line-buffered as in the program itself.
inline void silence_traces() {
    (void)std::setvbuf(rows(), nullptr, _IOLBF, 0);
    for (std::FILE* stream : {stdout, stderr}) {
        must(std::freopen("/dev/null", "w", stream) != nullptr, "/dev/null");
        (void)std::setvbuf(stream, nullptr, stream == stdout ? _IOLBF : _IONBF, 0);
    }
}

inline double seconds_of(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Of this thread alone, for work that waits for nothing: a busy machine adds little to it.
inline double work_seconds_of(const std::function<void()>& work) {
    const auto now = [] {
        timespec time{};
        must(::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time) == 0, "clock_gettime");
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
    };
    const double start = now();
    work();
    return now() - start;
}

// The least disturbed time: other work on the machine only ever adds to it.
inline double best(const std::vector<double>& times) {
    return *std::min_element(times.begin(), times.end());
}

inline double median(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

inline const char* verdict(bool reached) {
    return reached ? "ok" : "MISSED";
}

// A time against its yardstick, in milliseconds.
inline void print_ratio(const char* name, double ours, double yardstick, double target) {
    (void)std::fprintf(rows(), "%-66s %10.3f ms %10.3f ms  %5.2f x (at most %4.2f) %s\n", name, ours * 1000,
                       yardstick * 1000, ours / yardstick, target, verdict(ours / yardstick <= target));
}

// Told for comparison; it has no mark.
inline void print_comparison(const char* name, double time, double yardstick) {
    (void)std::fprintf(rows(), "%-66s %10.3f ms %10.3f ms  %5.2f x\n", name, time * 1000, yardstick * 1000,
                       time / yardstick);
}

// A figure against a fixed limit.
inline void print_limit(const char* name, double ours, const char* unit, double limit) {
    (void)std::fprintf(rows(), "%-66s %10.3f %-13s (at most %g) %s\n", name, ours, unit, limit,
                       verdict(ours <= limit));
}

inline void print_least(const char* name, double ours, const char* unit, double least) {
    (void)std::fprintf(rows(), "%-66s %10.0f %-13s (at least %g) %s\n", name, ours, unit, least,
                       verdict(ours >= least));
}

// Times ours and the yardstick in turn; clean runs before each, unmeasured.
struct Pair {
    std::vector<double> ours;
    std::vector<double> yardstick;
};
inline Pair alternate(
    int rounds, const std::function<void()>& ours, const std::function<void()>& yardstick,
    const std::function<void()>& clean = [] {}) {
    Pair times;
    for (int round = 0; round < rounds; ++round) {
        for (const bool first : {round % 2 == 0, round % 2 != 0}) {
            clean();
            (first ? times.ours : times.yardstick).push_back(seconds_of(first ? ours : yardstick));
        }
    }
    return times;
}

}  // namespace bench
