#include "ui/link_status_monitor.h"

#include <cstdio>

#include "base/log.h"
#include "base/non_copyable.h"
#include "base/translated_text.h"
#include "base/wait.h"
#include "link_engine/request_builders.h"
#include "link_engine/transfer_state.h"
#include "name_pipe/name_pipe_base.h"
#include "name_pipe/taken_place.h"
#include "side_function/link_probes.h"
#include "tree_view_op/file_list_view.h"
#include "window/closing.h"
#include "window/ui_sets.h"
#include "window/window_thread.h"

relay_hub::LinkMonitorState relay_hub::link_monitor_state;

namespace {

using relay_hub::current_stop_token;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr guint kTick = 1000;
constexpr milliseconds kBeforeProbe(250);
constexpr milliseconds kAfterProbe(500);
constexpr seconds kProbeLimit(20);
constexpr milliseconds kProbeSlice(100);
constexpr seconds kBetweenAttempts(2);
constexpr int kLastFirstTime = 3;
constexpr int kReachedBefore = 10;
constexpr int kGiveUpWaiting = 2;
constexpr milliseconds kStopLimit(500);

relay_hub::MonitorThreads& monitor() {
    return *relay_hub::link_monitor_state.threads;
}

void remove_timer() {
    if (g_waiting_status.timer_id != 0)
        g_source_remove(g_waiting_status.timer_id);
    g_waiting_status.timer_id = 0;
}

void bring_remote_side_back() {
    g_waiting_status.connected = 1;
    g_waiting_status.poll_now = 0;
    remove_timer();
    gtk_button_clicked(GTK_BUTTON(get_UI_sets()->right_side->spare_button));
    std::puts("click after");
    // A call-back that came meanwhile has its own poll running, and keeps its mark until it has.
    if (g_waiting_status.timer_id == 0)
        set_offline_interrupt(0);
    g_first_time = kReachedBefore;
}

// While another action runs the pane stays as it is; a later tick asks again.
void take_probe_result(unsigned int poll, bool online) {
    const bool outdated =
        poll != monitor().poll || g_waiting_status.timer_id == 0 || get_offline_interrupt() == 1;
    if (outdated || relay_hub::window_is_closing() || relay_hub::window_is_busy())
        return;
    if (online || g_waiting_status.stop_request == kGiveUpWaiting)
        bring_remote_side_back();
}

void probe(unsigned int poll) {
    if (!relay_hub::interruptible_sleep(kBeforeProbe))
        return;
    const bool online = link_engine_remote_online_nothread() != -1;
    if (online && !relay_hub::interruptible_sleep(kAfterProbe))
        return;
    relay_hub::post_to_window([poll, online] { take_probe_result(poll, online); });
}

void start_probe() {
    relay_hub::MonitorThreads& own = monitor();
    own.probe_started = steady_clock::now();
    own.probe.start("a probe of the engine", [poll = own.poll] { probe(poll); });
}

// Why the remote side is not there; another user's pipes in the way are a reason that the user can do
// something about.
void show_disconnection() {
    std::string text = relay_hub::translated("IDS_ERROR_DISCONNECT");
    for (const std::string& base : {relay_hub::command_pipe(), relay_hub::listener_pipe_name()})
        if (const std::string taken = relay_hub::taken_place(base); !taken.empty())
            text.append("\n\n").append(taken);
    GtkLabel* label = GTK_LABEL(get_UI_sets()->right_side->disconnect_label);
    gtk_label_set_line_wrap(label, TRUE);
    if (text != gtk_label_get_text(label))
        gtk_label_set_text(label, text.c_str());
}

void tick() {
    std::puts("waiting_linkengine");
    (void)write_log(kEventLogPath, "waiting_linkengine");
    show_disconnection();
    relay_hub::MonitorThreads& own = monitor();
    if (own.probe.running()) {
        if (steady_clock::now() - own.probe_started > kProbeLimit)
            own.probe.stop();
        return;
    }
    const bool ask = g_waiting_status.poll_now == 1;
    g_waiting_status.poll_now = ask ? 0 : 1;
    if (ask)
        start_probe();
}

class GdkLock : relay_hub::NonCopyable {
  public:
    GdkLock() { gdk_threads_enter(); }
    ~GdkLock() { gdk_threads_leave(); }
};

void print_attempt() {
    std::printf("try %d to get link_engine_connection_status !\n", g_first_time.load());
}

// The offline probe with a limit: an engine that died after it called back leaves a pipe that nobody reads.
// Returns early when the calling thread's waits are abandoned.
bool engine_answers() {
    const auto answered = std::make_shared<std::atomic<bool>>(false);
    relay_hub::Worker asking;
    if (asking.start("a probe of the engine",
                     [answered] { *answered = offline_connection_status_nothread() != -1; }) != 0)
        return false;
    const auto end = steady_clock::now() + kProbeLimit;
    while (!asking.wait(kProbeSlice) && steady_clock::now() < end && !current_stop_token()->stopped()) {
    }
    asking.stop();
    (void)asking.wait(kStopLimit);
    return *answered;
}

// False when the program is closing. Does not return when the engine cannot be reached.
bool reach_engine() {
    print_attempt();
    while (!engine_answers()) {
        if (!relay_hub::interruptible_sleep(kBetweenAttempts))
            return false;
        if (g_first_time > kLastFirstTime) {
            std::puts("local device disconnection !\nexit GUI");
            relay_hub::end_process();
        }
        ++g_first_time;
        print_attempt();
    }
    g_first_time = kReachedBefore;
    return true;
}

}  // namespace

void init_wait_status() {
    g_waiting_status = {};
}

wait_status* get_wait_status() {
    return &g_waiting_status;
}

gboolean waiting_linkengine(gpointer) {
    const GdkLock lock;
    if (get_offline_interrupt() == 1 || relay_hub::window_is_closing()) {
        g_waiting_status.timer_id = 0;
        return G_SOURCE_REMOVE;
    }
    tick();
    return G_SOURCE_CONTINUE;
}

void set_line_status() {
    const relay_hub::StopScope scope(monitor().listener_waits);
    if (!reach_engine())
        return;
    std::puts("remote device disconnection !");
    relay_hub::call_on_window([] {
        clean_combo_box(get_UI_sets()->right_side->drive_combo);
        relay_hub::show_offline_view();
        set_offline_interrupt(0);
        relay_hub::start_waiting();
    });
}

namespace relay_hub {

void start_waiting() {
    remove_timer();
    init_wait_status();
    g_waiting_status.poll_now = 1;
    ++monitor().poll;
    if (get_offline_interrupt() != 1 && !window_is_closing())
        g_waiting_status.timer_id = g_timeout_add(kTick, waiting_linkengine, &g_waiting_status);
}

void show_offline_view() {
    const __single& side = *get_UI_sets()->right_side;
    show_disconnection();
    gtk_widget_hide(side.content_box);
    gtk_widget_show(side.offline_box);
    gtk_widget_show(side.disconnect_label);
}

void show_online_view() {
    const __single& side = *get_UI_sets()->right_side;
    gtk_widget_show(side.content_box);
    gtk_widget_hide(side.offline_box);
    gtk_widget_hide(side.disconnect_label);
}

bool stop_link_monitor() {
    remove_timer();
    monitor().listener_waits.stop();
    monitor().probe.stop();
    return monitor().probe.wait(kStopLimit);
}

void reset_link_monitor() {
    stop_link_monitor();
    link_monitor_state.threads = std::make_unique<MonitorThreads>();
    if (g_waiting_status.dialog != nullptr)
        gtk_widget_destroy(g_waiting_status.dialog);
    init_wait_status();
    g_first_time = 0;
    g_timer_running = 0;
}

}  // namespace relay_hub
