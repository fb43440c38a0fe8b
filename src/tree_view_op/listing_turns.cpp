#include "tree_view_op/listing_turns.h"

#include <gtk/gtk.h>

#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "name_pipe/diagnostics.h"
#include "tree_view_op/file_list_view.h"
#include "util/quiet_thread.h"

namespace relay_hub {
namespace {

constexpr gint64 kFillingSlice = 20 * G_TIME_SPAN_MILLISECOND;
// Serving others must not starve the listing either.
constexpr gint64 kServingSlice = 20 * G_TIME_SPAN_MILLISECOND;

// Work that ends within this time needs no main-loop turns.
constexpr std::chrono::milliseconds kPatience(20);

ListingWatcher* the_watcher = nullptr;

// Shared, so that a closing window need not wait for a slow disk.
struct Beside {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;  // guarded by mutex
};

void run_and_tell(Beside& beside, const std::function<void()>& work) {
    try {
        work();
    } catch (const std::exception& failure) {
        report(RELAY_HUB_HERE, "a listing ended early:", failure.what());
    }
    {
        const std::lock_guard lock(beside.mutex);
        beside.done = true;
    }
    beside.changed.notify_all();
    g_main_context_wakeup(nullptr);
}

bool is_done(Beside& beside, std::chrono::milliseconds patience) {
    std::unique_lock lock(beside.mutex);
    return beside.changed.wait_for(lock, patience, [&beside] { return beside.done; });
}

bool start_beside(const std::shared_ptr<Beside>& beside, const std::function<void()>& work) {
    const SignalsBlocked blocked;
    try {
        std::thread([beside, work] { run_and_tell(*beside, work); }).detach();
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

}  // namespace

void set_listing_watcher(ListingWatcher* watcher) {
    the_watcher = watcher;
}

ListingWatcher* listing_watcher() {
    return the_watcher;
}

ListingTurns::ListingTurns(std::size_t expected_rows)
    : is_long_(expected_rows >= kLongListing), slice_began_(g_get_monotonic_time()) {}

ListingTurns::~ListingTurns() {
    if (told_ != nullptr)
        told_->long_listing_ends();
}

void ListingTurns::begin() {
    if (told_ != nullptr || the_watcher == nullptr)
        return;
    told_ = the_watcher;
    told_->long_listing_begins();
}

bool ListingTurns::after_rows(std::size_t rows) {
    is_long_ = is_long_ || rows >= kLongListing;
    if (the_watcher == nullptr || !is_long_ || g_get_monotonic_time() - slice_began_ < kFillingSlice)
        return true;
    begin();
    return turn();
}

bool ListingTurns::turn() {
    const gint64 serving_began = g_get_monotonic_time();
    while (gtk_events_pending() && g_get_monotonic_time() - serving_began < kServingSlice)
        gtk_main_iteration();
    slice_began_ = g_get_monotonic_time();
    return told_->go_on();
}

bool run_beside_window(const std::function<void()>& work, ListingTurns& turns) {
    const auto beside = std::make_shared<Beside>();
    if (the_watcher == nullptr || !start_beside(beside, work)) {
        work();
        return true;
    }
    if (is_done(*beside, kPatience))
        return true;
    turns.begin();
    while (!is_done(*beside, std::chrono::milliseconds(0))) {
        gtk_main_iteration();
        if (!the_watcher->go_on())
            return false;
    }
    return true;
}

}  // namespace relay_hub
