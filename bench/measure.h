// What the benchmarks share: times, and one printed row a figure. Everything is told on standard error,
// because the rooms that are measured trace on standard output.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace bench {

inline double seconds_of(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
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
    std::fprintf(stderr, "%-66s %10.3f ms %10.3f ms  %5.2f x (at most %4.2f) %s\n", name, ours * 1000,
                 yardstick * 1000, ours / yardstick, target, verdict(ours / yardstick <= target));
}

// A figure against a fixed limit.
inline void print_limit(const char* name, double ours, const char* unit, double limit) {
    std::fprintf(stderr, "%-66s %10.3f %-13s (at most %g) %s\n", name, ours, unit, limit,
                 verdict(ours <= limit));
}

inline void print_least(const char* name, double ours, const char* unit, double least) {
    std::fprintf(stderr, "%-66s %10.0f %-13s (at least %g) %s\n", name, ours, unit, least,
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

inline void must(bool good, const char* what) {
    if (good)
        return;
    std::perror(what);
    std::exit(1);
}

}  // namespace bench
