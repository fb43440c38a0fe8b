#pragma once
// The keyboard: in the file lists keys do what the menu does, and move between the panes; others work
// wherever the keyboard is in the main window. Window's thread, GDK lock held.
#include <gtk/gtk.h>

gboolean on_treeview_1_key_press_event(GtkWidget* tree_view, GdkEventKey* event, gpointer data);
gboolean on_treeview_1_popup_menu(GtkWidget* tree_view, gpointer data);
gboolean on_treeview_1_focus(GtkWidget* tree_view, GtkDirectionType direction, gpointer data);
// The selection has changed; only printed.
void on_treeview_1_changed(GtkTreeSelection* selection, gpointer data);

namespace relay_hub {

// Acts on the pane that has the keyboard, else on the local one.
gboolean on_window_key_press(GtkWidget* window, GdkEventKey* event, gpointer data);

}  // namespace relay_hub
