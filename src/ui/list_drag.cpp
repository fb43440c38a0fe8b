#include "ui/list_drag.h"

#include <cstdio>

#include "base/glib_owners.h"
#include "ui/event_handlers.h"
#include "ui/navigation.h"
#include "window/closing.h"
#include "window/ui_sets.h"

namespace {

constexpr int kByteFormat = 8;

// The toolkit only reads them.
constexpr char kTreeRowName[] = "GTK_TREE_MODEL_ROW";
constexpr char kUriListName[] = "text/uri-list";

bool is_usable(GtkWidget* tree_view, GtkSelectionData* selection) {
    return tree_view != instance && gtk_selection_data_get_format(selection) == kByteFormat &&
           gtk_selection_data_get_length(selection) >= 0 && !relay_hub::window_is_busy();
}

void print_data(GtkSelectionData* selection) {
    const auto* data = reinterpret_cast<const char*>(gtk_selection_data_get_data(selection));
    std::printf("data format:[%d]\t length:[%d]\tdata:[%s]\n", gtk_selection_data_get_format(selection),
                gtk_selection_data_get_length(selection), data != nullptr ? data : "");
}

}  // namespace

namespace relay_hub {

void on_list_drag_begin(GtkWidget*, GdkDragContext*, gpointer) {
    single_clicked = kClickIdle;
}

void on_list_drag_end(GtkWidget*, GdkDragContext*, gpointer) {
    instance = nullptr;
}

}  // namespace relay_hub

const GtkTargetEntry drop_targets[kDropTargetCount] = {
    {const_cast<char*>(kTreeRowName), GTK_TARGET_SAME_APP, kTreeRowTarget},
    {const_cast<char*>(kUriListName), 0, kUriListTarget},
};

void on_treeview_1_drag_data_get(GtkWidget* tree_view, GdkDragContext* context, GtkSelectionData* selection,
                                 guint info, guint time, gpointer data) {
    std::puts(__func__);
    instance = tree_view;
    if (const __single* side = relay_hub::side_of(tree_view)) {
        const auto get = relay_hub::is_remote(side) ? right_drag_data_get : left_drag_data_get;
        get(tree_view, context, selection, info, time, data);
    }
    g_signal_stop_emission_by_name(tree_view, "drag-data-get");
}

void on_treeview_1_drag_data_received(GtkWidget* tree_view, GdkDragContext* context, gint x, gint y,
                                      GtkSelectionData* selection, guint info, guint time, gpointer data) {
    std::puts(__func__);
    print_data(selection);
    const relay_hub::GObjectPtr<GdkDragContext> held(static_cast<GdkDragContext*>(g_object_ref(context)));
    const __single* side = relay_hub::side_of(tree_view);
    const bool taken = side != nullptr && is_usable(tree_view, selection);
    if (taken) {
        const relay_hub::WindowWork work;
        const bool remote = relay_hub::is_remote(side);
        (void)std::fputs(remote ? "remote treeivew\n" : "local treeivew\n", stderr);
        const auto receive = remote ? right_drag_data_received : left_drag_data_received;
        receive(tree_view, context, x, y, selection, info, time, data);
    }
    instance = nullptr;
    gtk_drag_finish(context, taken ? TRUE : FALSE, FALSE, time);
    // The toolkit finishes the drag too, and after a move it would ask the source to delete what was dragged.
    context->action = GDK_ACTION_COPY;
    g_signal_stop_emission_by_name(tree_view, "drag-data-received");
}

gboolean on_treeview_1_drag_drop(GtkWidget* tree_view, GdkDragContext*, gint, gint, guint, gpointer) {
    std::puts(__func__);
    if (const __single* side = relay_hub::side_of(tree_view))
        gtk_tree_selection_unselect_all(
            gtk_tree_view_get_selection(GTK_TREE_VIEW(relay_hub::other_side(side)->tree_view)));
    return TRUE;
}

gboolean on_treeview_1_drag_motion(GtkWidget*, GdkDragContext*, gint, gint, guint, gpointer) {
    std::puts(__func__);
    return FALSE;
}

void on_treeview_1_drag_leave(GtkWidget*, GdkDragContext*, guint, gpointer) {
    std::puts(__func__);
}

void on_treeview_1_drag_data_delete(GtkWidget*, GdkDragContext*, gpointer) {
    std::puts(__func__);
}
