#include "tree_view_op/listing_turns.h"

#include <gtk/gtk.h>

#include "tree_view_op/file_list_view.h"

namespace relay_hub {
namespace {

constexpr gint64 kFillingSlice = 20 * G_TIME_SPAN_MILLISECOND;
// Serving others must not starve the listing either.
constexpr gint64 kServingSlice = 20 * G_TIME_SPAN_MILLISECOND;

ListingWatcher* the_watcher = nullptr;

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

}  // namespace relay_hub
