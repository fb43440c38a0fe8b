#include "ui/folder_watch.h"

#include <gio/gio.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "base/diagnostics.h"
#include "base/glib_owners.h"
#include "tree_view_op/file_list_view.h"
#include "tree_view_op/list_place.h"
#include "tree_view_op/listing_turns.h"
#include "window/closing.h"

namespace relay_hub {
namespace {

constexpr guint kBetweenReadings = 500;
// Of the time, a folder that changes all the time may take this part at most.
constexpr gint64 kShare = 20;
constexpr char kWatch[] = "relay-hub-folder-watch";

struct FolderWatch {
    const __single* side = nullptr;
    GObjectPtr<GFileMonitor> monitor;
    std::string folder;
    guint timer = 0;
    guint delay = kBetweenReadings;
};

bool user_is_at_it() {
    GdkModifierType buttons{};
    (void)gdk_display_get_pointer(gdk_display_get_default(), nullptr, nullptr, nullptr, &buttons);
    return window_is_busy() || gtk_grab_get_current() != nullptr ||
           (buttons & (GDK_BUTTON1_MASK | GDK_BUTTON3_MASK)) != 0;
}

bool fills_in_one_turn(GtkWidget* tree_view) {
    GtkTreeModel* model = gtk_tree_view_get_model(GTK_TREE_VIEW(tree_view));
    return model != nullptr &&
           static_cast<std::size_t>(gtk_tree_model_iter_n_children(model, nullptr)) < kLongListing;
}

void read_again(FolderWatch* watch) {
    GtkWidget* tree_view = watch->side->tree_view;
    const WindowWork work;
    const ListPlace place(tree_view);
    const gint64 began = g_get_monotonic_time();
    once_search_and_insert_to_treeview(current_folder(watch->side), tree_view);
    place.restore();
    const gint64 took = (g_get_monotonic_time() - began) / G_TIME_SPAN_MILLISECOND;
    watch->delay = static_cast<guint>(std::max<gint64>(kBetweenReadings, kShare * took));
}

gboolean follow(gpointer data) {
    auto* watch = static_cast<FolderWatch*>(data);
    if (window_is_closing())
        return G_SOURCE_REMOVE;
    if (user_is_at_it())
        return G_SOURCE_CONTINUE;
    watch->timer = 0;
    // A folder that is gone leaves what it held before the user's eyes.
    if (watch->folder == current_folder(watch->side) && fills_in_one_turn(watch->side->tree_view) &&
        g_file_test(watch->folder.c_str(), G_FILE_TEST_IS_DIR) != FALSE)
        read_again(watch);
    return G_SOURCE_REMOVE;
}

// Without the toolkit's lock.
void on_changed(GFileMonitor*, GFile*, GFile*, GFileMonitorEvent, gpointer data) {
    auto* watch = static_cast<FolderWatch*>(data);
    if (watch->timer == 0)
        watch->timer = gdk_threads_add_timeout(watch->delay, follow, watch);
}

void stop(FolderWatch* watch) {
    if (watch->monitor != nullptr)
        g_signal_handlers_disconnect_by_data(watch->monitor.get(), watch);
    watch->monitor.reset();
    if (watch->timer != 0)
        g_source_remove(std::exchange(watch->timer, 0));
    watch->delay = kBetweenReadings;
}

void watch_shown_folder(FolderWatch* watch) {
    const std::string folder = current_folder(watch->side);
    if (watch->folder == folder && watch->monitor != nullptr)
        return;
    stop(watch);
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

void free_watch(gpointer data) {
    const std::unique_ptr<FolderWatch> watch(static_cast<FolderWatch*>(data));
    stop(watch.get());
}

}  // namespace

void follow_local_folder(const __single* side) {
    auto watch = std::make_unique<FolderWatch>();
    watch->side = side;
    // The label's text is the folder that is shown.
    g_signal_connect(side->status_label, "notify::label", G_CALLBACK(on_folder), watch.get());
    g_object_set_data_full(G_OBJECT(side->status_label), kWatch, watch.release(), free_watch);
}

}  // namespace relay_hub
