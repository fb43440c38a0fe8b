#pragma once
// Main-loop turns in the middle of a long listing. Window's thread.
#include <glib.h>

#include <cstddef>

namespace relay_hub {

// A listing shorter than this is filled in one turn.
inline constexpr std::size_t kLongListing = 2000;

class ListingWatcher;
ListingWatcher* listing_watcher();

// Tells the watcher while a listing is long: from the start when many rows are expected, else once they
// have come.
class ListingTurns {
  public:
    explicit ListingTurns(std::size_t expected_rows);
    ListingTurns(const ListingTurns&) = delete;
    ListingTurns& operator=(const ListingTurns&) = delete;
    ~ListingTurns();

    void begin();
    // Serves what the main loop has waiting, once the slice is used up. False: stop.
    bool after_rows(std::size_t rows);

  private:
    bool turn();

    ListingWatcher* told_ = nullptr;
    gint64 slice_began_;
};

}  // namespace relay_hub
