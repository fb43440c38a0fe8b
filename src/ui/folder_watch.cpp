#include "ui/folder_watch.h"

#include <gio/gio.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "base/diagnostics.h"
#include "base/glib_owners.h"
#include "base/main_loop_source.h"
#include "base/worker.h"
#include "tree_view_op/list_update.h"
#include "tree_view_op/toolkit_owners.h"
#include "window/closing.h"
#include "window/window_thread.h"

namespace relay_hub {
namespace {

constexpr guint kBetweenReadings = 500;
// Of the time, a folder that changes all the time may take this part at most.
constexpr gint64 kShare = 20;
constexpr char kWatch[] = "relay-hub-folder-watch";

struct FolderWatch {
    ~FolderWatch() { stop(); }
    void stop() {
        if (monitor != nullptr)
            g_signal_handlers_disconnect_by_data(monitor.get(), this);
        monitor.reset();
        timer.reset();
        turns.reset();
        reading.reset();
        update.reset();
        delay = kBetweenReadings;
    }

    const __single* side = nullptr;
    GObjectPtr<GFileMonitor> monitor;
    std::string folder;
    guint delay = kBetweenReadings;
    bool changed = false;
    // One update, step by step: the wait for its time, the reading, the rows. Each has its own member.
    MainLoopSource timer;
    std::shared_ptr<ListView> reading;
    std::unique_ptr<ListUpdate> update;
    MainLoopSource turns;
    gint64 took = 0;
};

bool user_is_at_it() {
    GdkModifierType buttons{};
    (void)gdk_display_get_pointer(gdk_display_get_default(), nullptr, nullptr, nullptr, &buttons);
    return window_is_busy() || gtk_grab_get_current() != nullptr ||
           (buttons & (GDK_BUTTON1_MASK | GDK_BUTTON3_MASK)) != 0;
}

ListView shown_now(const FolderWatch* watch) {
    return list_view_of(watch->side->tree_view, current_folder(watch->side));
}

gboolean read_again(gpointer data);

void wait_for_time(FolderWatch* watch) {
    if (!watch->timer && watch->reading == nullptr && watch->update == nullptr)
        watch->timer.reset(gdk_threads_add_timeout(watch->delay, read_again, watch));
}

// again: what was read is not what shows now.
void end_update(FolderWatch* watch, bool again) {
    watch->reading.reset();
    watch->update.reset();
    watch->turns.forget();
    const gint64 took = std::exchange(watch->took, 0) / G_TIME_SPAN_MILLISECOND;
    watch->delay = static_cast<guint>(std::max<gint64>(kBetweenReadings, kShare * took));
    if (again || watch->changed)
        wait_for_time(watch);
}

gboolean put_rows_right(gpointer data) {
    auto* watch = static_cast<FolderWatch*>(data);
    const gint64 began = g_get_monotonic_time();
    const auto result = user_is_at_it() ? ListUpdate::Result::kOutdated : watch->update->go_on();
    watch->took += g_get_monotonic_time() - began;
    if (result == ListUpdate::Result::kMore)
        return G_SOURCE_CONTINUE;
    end_update(watch, result == ListUpdate::Result::kOutdated);
    return G_SOURCE_REMOVE;
}

void take_reading(FolderWatch* watch, const std::shared_ptr<ListNow>& now) {
    const ListView view = *std::exchange(watch->reading, nullptr);
    // A folder that is gone leaves what it held before the user's eyes.
    if (now == nullptr || user_is_at_it() || view != shown_now(watch)) {
        end_update(watch, now != nullptr);
        return;
    }
    watch->update = std::make_unique<ListUpdate>(watch->side->tree_view, now);
    watch->turns.reset(gdk_threads_add_idle(put_rows_right, watch));
}

void read_beside(FolderWatch* watch) {
    watch->changed = false;
    watch->reading = std::make_shared<ListView>(shown_now(watch));
    const auto body = [watch, view = *watch->reading, wanted = std::weak_ptr(watch->reading)] {
        const gint64 began = g_get_monotonic_time();
        const std::shared_ptr<ListNow> now = ListNow::read(view);
        const gint64 took = g_get_monotonic_time() - began;
        post_to_window([=] {
            if (wanted.expired())
                return;  // and so may the watch be
            watch->took = took;
            take_reading(watch, now);
        });
    };
    Worker beside;
    if (beside.start("a listing", body) != 0)
        end_update(watch, true);
}

gboolean read_again(gpointer data) {
    auto* watch = static_cast<FolderWatch*>(data);
    if (!window_is_closing() && user_is_at_it())
        return G_SOURCE_CONTINUE;
    watch->timer.forget();
    if (!window_is_closing() && watch->folder == current_folder(watch->side))
        read_beside(watch);
    return G_SOURCE_REMOVE;
}

// Without the toolkit's lock.
void on_changed(GFileMonitor*, GFile*, GFile*, GFileMonitorEvent, gpointer data) {
    auto* watch = static_cast<FolderWatch*>(data);
    watch->changed = true;
    wait_for_time(watch);
}

void watch_shown_folder(FolderWatch* watch) {
    const std::string folder = current_folder(watch->side);
    if (watch->folder == folder && watch->monitor != nullptr)
        return;
    watch->stop();
    watch->folder = folder;
    const GObjectPtr<GFile> place(g_file_new_for_path(folder.c_str()));
    GError* error = nullptr;
    watch->monitor.reset(g_file_monitor_directory(place.get(), G_FILE_MONITOR_NONE, nullptr, &error));
    if (watch->monitor == nullptr) {
        const GErrorPtr owner(error);
        report(RELAY_HUB_HERE, "changes of the folder will not show by themselves:", error->message);
        return;
    }
    g_signal_connect(watch->monitor.get(), "changed", G_CALLBACK(on_changed), watch);
}

void on_folder(GObject*, GParamSpec*, gpointer watch) {
    watch_shown_folder(static_cast<FolderWatch*>(watch));
}

}  // namespace

void follow_local_folder(const __single* side) {
    auto watch = std::make_unique<FolderWatch>();
    watch->side = side;
    // The label's text is the folder that is shown.
    g_signal_connect(side->status_label, "notify::label", G_CALLBACK(on_folder), watch.get());
    attach(side->status_label, kWatch, std::move(watch));
}

}  // namespace relay_hub
