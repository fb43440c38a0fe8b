#pragma once
// Main-loop turns in the middle of a long listing. Window's thread.
#include <glib.h>

#include <cstddef>
#include <functional>
#include <memory>

#include "base/non_copyable.h"
#include "base/worker.h"

namespace relay_hub {

// A listing of fewer rows than this is filled in one turn.
inline constexpr std::size_t kLongListing = 2000;

// Notified when a listing takes several main-loop turns, so that the window can block itself meanwhile.
// Supplied by a higher room; without one, listings are filled in one turn. Begins and ends nest.
class ListingWatcher {
  public:
    virtual ~ListingWatcher() = default;
    virtual void long_listing_begins() = 0;
    virtual void long_listing_ends() = 0;
    // False once the program is closing: the filling stops where it is.
    virtual bool go_on() = 0;
};
void set_listing_watcher(ListingWatcher* watcher);

// Cuts the filling, or the emptying, of a long listing into slices and tells the watcher from the first cut
// to the end.
class ListingTurns : NonCopyable {
  public:
    // A listing is long when that many rows are expected, else once they have come.
    explicit ListingTurns(std::size_t expected_rows);
    ~ListingTurns();

    // Tells the watcher that the listing is long. Nothing without one, or the second time.
    void begin();
    // After each row, with their count so far: serves what the main loop has waiting, once the slice is used
    // up. False: stop.
    bool after_rows(std::size_t rows);
    // Beside work that cannot be cut: serves what waits now, if the watcher has been notified.
    void serve();

  private:
    bool turn();

    bool is_long_;
    ListingWatcher* watcher_ = nullptr;
    gint64 slice_began_;
};

// Work on a thread of its own, which must not touch the window, in steps that it reports. Without a watcher,
// or when there is no thread to be had, it is done at once. The owner may go first: work then goes on alone,
// so it must own what it uses.
class WorkBesideWindow {
  public:
    // How many steps are done by now. Telling wakes the window: not for every small one.
    using Tell = std::function<void(std::size_t steps)>;
    explicit WorkBesideWindow(const std::function<void(const Tell& tell)>& work);

    // Returns when that many steps are done, or all work is. Meanwhile the main loop turns, and the watcher
    // is notified when it takes long. False when the listing was called off.
    bool wait_for(std::size_t steps, ListingTurns& turns);

  private:
    struct Shared;
    std::shared_ptr<Shared> shared_;
    Worker worker_;
};

}  // namespace relay_hub
