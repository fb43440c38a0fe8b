#pragma once
// Both ends of a drag in the file lists. Window's thread.
#include <gtk/gtk.h>

#include "side_function/drag_and_drop.h"

// Drop targets of both lists.
inline constexpr int kDropTargetCount = 2;
extern const GtkTargetEntry drop_targets[kDropTargetCount];

void on_treeview_1_drag_data_get(GtkWidget* tree_view, GdkDragContext* context, GtkSelectionData* selection,
                                 guint info, guint time, gpointer data);
void on_treeview_1_drag_data_received(GtkWidget* tree_view, GdkDragContext* context, gint x, gint y,
                                      GtkSelectionData* selection, guint info, guint time, gpointer data);
gboolean on_treeview_1_drag_drop(GtkWidget* tree_view, GdkDragContext* context, gint x, gint y, guint time,
                                 gpointer data);
gboolean on_treeview_1_drag_motion(GtkWidget* tree_view, GdkDragContext* context, gint x, gint y, guint time,
                                   gpointer data);
void on_treeview_1_drag_leave(GtkWidget* tree_view, GdkDragContext* context, guint time, gpointer data);
void on_treeview_1_drag_data_delete(GtkWidget* tree_view, GdkDragContext* context, gpointer data);

namespace relay_hub {

void on_list_drag_begin(GtkWidget* tree_view, GdkDragContext* context, gpointer data);
// However the drag ended, in another program too.
void on_list_drag_end(GtkWidget* tree_view, GdkDragContext* context, gpointer data);

}  // namespace relay_hub
