#include "tree_view_op/listing_turns.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <limits>
#include <mutex>

#include "base/diagnostics.h"
#include "base/main_loop.h"

namespace relay_hub {
namespace {

constexpr std::size_t kRowsBetweenLooks = 64;
constexpr gint64 kFillingSlice = 20 * G_TIME_SPAN_MILLISECOND;
// Serving others must not starve the listing either.
constexpr std::chrono::milliseconds kServingSlice(20);

// Work that ends within this time needs no main-loop turns.
constexpr std::chrono::milliseconds kPatience(20);
constexpr std::size_t kAllSteps = std::numeric_limits<std::size_t>::max();

ListingWatcher* the_watcher = nullptr;

}  // namespace

void set_listing_watcher(ListingWatcher* watcher) {
    the_watcher = watcher;
}

ListingTurns::ListingTurns(std::size_t expected_rows)
    : is_long_(expected_rows >= kLongListing), slice_began_(g_get_monotonic_time()) {}

ListingTurns::~ListingTurns() {
    if (watcher_ != nullptr)
        watcher_->long_listing_ends();
}

void ListingTurns::begin() {
    if (watcher_ != nullptr || the_watcher == nullptr)
        return;
    watcher_ = the_watcher;
    watcher_->long_listing_begins();
}

bool ListingTurns::after_rows(std::size_t rows) {
    if (rows % kRowsBetweenLooks != 0)
        return true;
    is_long_ = is_long_ || rows >= kLongListing;
    if (the_watcher == nullptr || !is_long_ || g_get_monotonic_time() - slice_began_ < kFillingSlice)
        return true;
    begin();
    return turn();
}

void ListingTurns::serve() {
    if (watcher_ != nullptr)
        (void)turn();
}

bool ListingTurns::turn() {
    serve_main_loop(kServingSlice);
    slice_began_ = g_get_monotonic_time();
    return watcher_->go_on();
}

struct WorkBesideWindow::Shared {
    void tell(std::size_t count) {
        {
            const std::lock_guard lock(mutex);
            steps = count;
        }
        changed.notify_all();
        g_main_context_wakeup(nullptr);
    }
    bool reaches(std::size_t count, std::chrono::milliseconds patience) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, patience, [this, count] { return steps >= count; });
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::size_t steps = 0;  // guarded by mutex
};

namespace {

void run_here(const std::function<void()>& body) {
    try {
        body();
    } catch (const std::exception& error) {
        report(RELAY_HUB_HERE, "a listing ended early:", error.what());
    }
}

}  // namespace

// The steps are shared, so that a closing window need not wait for a slow disk.
WorkBesideWindow::WorkBesideWindow(const std::function<void(const Tell& tell)>& work)
    : shared_(std::make_shared<Shared>()) {
    const auto body = [shared = shared_, work] {
        // However the work ends, nobody waits for more of it.
        const std::shared_ptr<void> at_end(nullptr, [shared](void*) { shared->tell(kAllSteps); });
        work([&shared](std::size_t count) { shared->tell(count); });
    };
    if (the_watcher == nullptr || worker_.start("a listing", body) != 0)
        run_here(body);
}

bool WorkBesideWindow::wait_for(std::size_t steps, ListingTurns& turns) {
    if (shared_->reaches(steps, kPatience))
        return true;
    turns.begin();
    bool go_on = true;
    turn_main_loop_until([&] {
        go_on = the_watcher->go_on();
        return !go_on || shared_->reaches(steps, std::chrono::milliseconds(0));
    });
    return go_on;
}

}  // namespace relay_hub
