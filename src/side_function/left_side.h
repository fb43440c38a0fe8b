#pragma once
// What the local pane does. Window's thread. Results: 0 success, -1 nothing done or failed.
#include <gtk/gtk.h>

#include <string>

int left_treeview_load_file(GtkWidget* window, const std::string& folder);
int left_combobox_load_partition(GtkWidget* window, gpointer data);
int left_popup_menu_mkdir(GtkWidget* item, gpointer data);
int left_popup_menu_delete(GtkWidget* item, gpointer data);
int left_popup_menu_rename(GtkWidget* item, gpointer data);
int left_popup_menu_refresh(GtkWidget* item, gpointer data);
int left_popup_menu_copy(GtkWidget* item, gpointer tree_view);
int left_popup_menu_paste(GtkWidget* item, gpointer data);
