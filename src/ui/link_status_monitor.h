#pragma once
// Watches for the remote side: shows the remote pane's offline view, polls the engine until the remote
// computer answers, and then brings the pane back by clicking its spare button. The window's thread owns the
// poll; the engine is asked on a worker, at most one at a time.
#include <gtk/gtk.h>

#include <atomic>
#include <chrono>
#include <memory>

#include "base/stop_token.h"
#include "base/worker.h"

struct wait_status {
    guint timer_id = 0;    // the poll's source; 0 for none
    int connected = 0;     // 1 once the remote side was found online or the status dialog was closed
    int stop_request = 0;  // 2: give up waiting at the next asking tick
    int poll_now = 0;      // the engine is asked only on ticks where it is 1
    GtkWidget* dialog = nullptr;
    GtkWidget* status_label = nullptr;
    GtkWidget* button = nullptr;
};

namespace relay_hub {

// What the monitor's threads share. Every poll has a number, so that a late answer to an old one is dropped.
struct MonitorThreads {
    Worker probe;
    std::chrono::steady_clock::time_point probe_started;
    unsigned int poll = 0;
    StopToken listener_waits;  // bound while set_line_status runs
};

struct LinkMonitorState {
    wait_status waiting;
    std::atomic<int> failed_attempts = 0;  // to reach the engine; 10 after a success
    int timer_running = 0;                 // nobody sets it
    std::unique_ptr<MonitorThreads> threads = std::make_unique<MonitorThreads>();
};
extern LinkMonitorState link_monitor_state;

}  // namespace relay_hub

inline constexpr wait_status& g_waiting_status = relay_hub::link_monitor_state.waiting;
inline constexpr std::atomic<int>& g_first_time = relay_hub::link_monitor_state.failed_attempts;
inline constexpr int& g_timer_running = relay_hub::link_monitor_state.timer_running;

// Zeroes the record. Window's thread.
void init_wait_status();
wait_status* get_wait_status();

// The one-second tick, a plain timeout callback: takes the GDK lock itself, waits for nothing. False ends
// the poll.
gboolean waiting_linkengine(gpointer status);

// The engine says that the remote computer went offline: probes the engine, ends the process when it cannot
// be reached, else switches the remote pane to its offline view and restarts the poll. Listener thread,
// without the GDK lock; waits up to some ten seconds.
void set_line_status();

namespace relay_hub {

// Sets the record's start values and starts the poll, unless an offline call-back is being handled; a poll
// that was running ends. Window's thread.
void start_waiting();
// Hides the remote side's content and shows its offline message. Window's thread.
void show_offline_view();
// Hides the offline message and shows the remote side's content. Window's thread.
void show_online_view();

// Abandons what the monitor asks and ends its worker. False when the worker still runs. Window's thread,
// after the main loop.
bool stop_link_monitor();
// Ends the poll and sets every global back to its start value, for tests. Window's thread.
void reset_link_monitor();

}  // namespace relay_hub
