#pragma once
// Both panes' ends of a drag. Window's thread. Results: 0 success, -1 nothing done or failed.
#include <gtk/gtk.h>

// The info of what is dropped: a row dragged inside this program, or a list of URIs.
inline constexpr guint kTreeRowTarget = 0;
inline constexpr guint kUriListTarget = 1;

int left_drag_data_get(GtkWidget* widget, GdkDragContext* context, GtkSelectionData* selection, guint info,
                       guint time, gpointer data);
int left_drag_data_received(GtkWidget* widget, GdkDragContext* context, gint x, gint y,
                            GtkSelectionData* selection, guint info, guint time, gpointer data);
int right_drag_data_get(GtkWidget* widget, GdkDragContext* context, GtkSelectionData* selection, guint info,
                        guint time, gpointer data);
int right_drag_data_received(GtkWidget* widget, GdkDragContext* context, gint x, gint y,
                             GtkSelectionData* selection, guint info, guint time, gpointer data);
int remote_receive_data(GtkWidget* widget, GtkSelectionData* selection);
