#pragma once
// The mouse in the file lists: a selection of several rows survives the press that may start its drag, and
// its release leaves one; a click beside the rows leaves none; a double click ends with its release, the
// right button opens the menu. Window's thread.
#include <gtk/gtk.h>

gboolean on_treeview_1_button_press_event(GtkWidget* tree_view, GdkEventButton* event, gpointer data);
gboolean on_treeview_1_button_release_event(GtkWidget* tree_view, GdkEventButton* event, gpointer data);

namespace relay_hub {

// A press on the ".." row or on no row begins no drag.
gboolean on_list_motion(GtkWidget* tree_view, GdkEventMotion* event, gpointer data);

}  // namespace relay_hub
