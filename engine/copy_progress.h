#pragma once
// How far a copy is, and whether it is to go on. Tells the front end and asks it, each at most ten times a
// second. One copy, one thread; the front end must outlive it.
#include <chrono>
#include <cstdint>
#include <string>

#include "base/progress_text.h"
#include "engine/front_end.h"
#include "engine/remote_file_system.h"

namespace relay_hub::engine {

class CopyProgress {
  public:
    explicit CopyProgress(FrontEnd& front_end) : front_end_(front_end) {}

    // Whether the work is to end; once it is, it stays so.
    bool stopped();
    void stop() { stop_ = true; }
    // The user has just answered: a Cancel since then counts before anything is written, however soon it is.
    void poll_next_time() { last_poll_ = {}; }

    // One more entry that is to be copied.
    void add_to_do(const Entry& entry);
    // The entry that is copied now, as the user knows it.
    void begin(std::string shown);
    void add_written(std::uint64_t bytes);
    // Nothing more is to be done for the entry that was begun, whether it was copied or not.
    void finish(const Entry& entry);
    // The same for one that was at the target already.
    void finish_present(const Entry& entry);
    // Reports to the front end, unless the last report was only moments ago.
    void report();
    // Tells it where the copy ended.
    void report_end() { tell(std::chrono::steady_clock::now()); }

    [[nodiscard]] std::uint64_t left() const { return counts_.items_total - counts_.items_done; }
    [[nodiscard]] std::uint64_t total() const { return counts_.items_total; }

  private:
    void count_done(std::uint64_t items, std::uint64_t bytes);
    void tell(std::chrono::steady_clock::time_point now);

    FrontEnd& front_end_;
    std::chrono::steady_clock::time_point last_poll_;
    std::chrono::steady_clock::time_point last_report_;
    bool stop_ = false;
    std::string current_;
    std::uint64_t bytes_before_ = 0;  // done when the current entry began
    ProgressCounts counts_;
    ProgressText text_;
};

}  // namespace relay_hub::engine
