#pragma once
// What the remote pane does; each action is one request to the engine. Window's thread unless said.
// Results: 0 success, negative as the reader judged.
#include <gtk/gtk.h>

#include <string>

#include "link_engine/send_args.h"

int right_treeview_load_file(GtkWidget* window, const std::string& path);
int right_combobox_load_partition(GtkWidget* window, gpointer data);
// Loads special paths and drives without the runner: requests are made on the calling worker, the readers
// run on the window's thread by hand-over. Any thread but the window's. 0.
int right_combobox_load_partition_nothread();

int link_engine_heartbeat();
int link_engine_connection_status();
int offline_connection_status();
int link_engine_remote_online();
// Asks on the calling thread, which must not be the window's.
int link_engine_remote_online_nothread();
// The off-line connection probe, asked directly. Any thread but the window's. 0 also when the command
// channel is busy with a request of ours: then the engine is alive.
int offline_connection_status_nothread();

int right_popup_menu_mkdir(GtkWidget* item, gpointer data);
int right_popup_menu_rename(GtkWidget* item, gpointer data);
int right_popup_menu_delete(GtkWidget* item, gpointer data);
int right_popup_menu_paste(GtkWidget* item, gpointer data);
// Remembers the selected remote rows as the copy source (the "copy" of the remote menu, after its prints).
int right_popup_menu_copy(GtkWidget* item, gpointer tree_view);
int right_drag_data_get(GtkWidget* widget, GdkDragContext* context, GtkSelectionData* selection, guint info,
                        guint time, gpointer data);
int right_drag_data_received(GtkWidget* widget, GdkDragContext* context, gint x, gint y,
                             GtkSelectionData* selection, guint info, guint time, gpointer data);
int remote_receive_data(GtkWidget* widget, GtkSelectionData* selection);
int set_file_system_attribute(GtkWidget* tree_view, __send_args* args);
// The progress updater for remote work; info is the dialog_info.
gboolean update_dialog_info(gpointer info);
