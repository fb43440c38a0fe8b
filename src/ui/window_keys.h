#pragma once
// Keys that work wherever the keyboard is in the main window. They act on the pane that has it, else on the
// local one. Window's thread, GDK lock held.
#include <gtk/gtk.h>

namespace relay_hub {

gboolean on_window_key_press(GtkWidget* window, GdkEventKey* event, gpointer data);

}  // namespace relay_hub
