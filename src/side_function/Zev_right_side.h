#pragma once
// What the remote pane does; each action is one request to the engine. Window's thread. Results: 0 success,
// negative as the reader judged.
#include <gtk/gtk.h>

#include <string>

int right_treeview_load_file(GtkWidget* window, const std::string& path);
int right_combobox_load_partition(GtkWidget* window, gpointer data);

int right_popup_menu_mkdir(GtkWidget* item, gpointer data);
int right_popup_menu_rename(GtkWidget* item, gpointer data);
int right_popup_menu_delete(GtkWidget* item, gpointer data);
int right_popup_menu_paste(GtkWidget* item, gpointer data);
// Remembers the selected remote rows as the copy source (the "copy" of the remote menu, after its prints).
int right_popup_menu_copy(GtkWidget* item, gpointer tree_view);
