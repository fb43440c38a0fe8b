#include "engine/copy_progress.h"

#include <algorithm>
#include <utility>

namespace relay_hub::engine {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBeat{100};

std::uint64_t content_size(const Entry& entry) {
    return entry.kind == EntryKind::kFile ? entry.size : 0;
}

}  // namespace

bool CopyProgress::stopped() {
    if (stop_ || steady_clock::now() - last_poll_ < kBeat)
        return stop_;
    stop_ = front_end_.cancelled();
    last_poll_ = steady_clock::now();
    return stop_;
}

void CopyProgress::add_to_do(const Entry& entry) {
    ++counts_.items_total;
    counts_.bytes_total += content_size(entry);
}

void CopyProgress::begin(std::string shown) {
    current_ = std::move(shown);
    bytes_before_ = counts_.bytes_done;
    report();
}

// What came up only while it was copied belongs to the whole as well.
void CopyProgress::count_done(std::uint64_t items, std::uint64_t bytes) {
    counts_.items_done = items;
    counts_.bytes_done = std::max(counts_.bytes_done, bytes);
    counts_.items_total = std::max(counts_.items_total, counts_.items_done);
    counts_.bytes_total = std::max(counts_.bytes_total, counts_.bytes_done);
}

void CopyProgress::add_written(std::uint64_t bytes) {
    counts_.bytes_moved += bytes;
    count_done(counts_.items_done, counts_.bytes_done + bytes);
}

void CopyProgress::finish(const Entry& entry) {
    count_done(counts_.items_done + 1, bytes_before_ + content_size(entry));
}

void CopyProgress::finish_present(const Entry& entry) {
    ++counts_.items_present;
    finish(entry);
}

void CopyProgress::report() {
    const auto now = steady_clock::now();
    if (now - last_report_ >= kBeat)
        tell(now);
}

void CopyProgress::tell(steady_clock::time_point now) {
    Progress report;
    report.item = current_;
    // Where there is nothing but empty files, the files themselves are what there is to do.
    const bool counts_bytes = counts_.bytes_total > 0;
    report.total = counts_bytes ? counts_.bytes_total : counts_.items_total;
    report.done = std::min(counts_bytes ? counts_.bytes_done : counts_.items_done, report.total);
    report.how_far = text_.text(counts_, now);
    front_end_.progress(report);
    last_report_ = steady_clock::now();
}

}  // namespace relay_hub::engine
