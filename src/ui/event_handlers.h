#pragma once
// The main window's signal handlers. One set serves both sides: each finds out whose widget it was given and
// calls one action. While a request or job runs they start nothing. Window's thread, GDK lock held.
#include <gtk/gtk.h>

// The click state of the lists.
inline constexpr int kClickIdle = 7;
inline constexpr int kDoubleClickPressed = 5;
inline constexpr int kSelectionPressed = 4;  // on a selected row of several: it stays until the release

namespace relay_hub {

// What the handlers keep from one event to the next.
struct EventState {
    GtkWidget* drag_source = nullptr;  // the list a drag started from, until it is dropped; null for none
    int click = kClickIdle;
    bool press_moves_nothing = false;  // the press that is under way may not become a drag
    bool window_gone = false;
};
extern EventState event_state;

}  // namespace relay_hub

inline constexpr GtkWidget*& instance = relay_hub::event_state.drag_source;
inline constexpr int& single_clicked = relay_hub::event_state.click;

void on_main_window_show(GtkWidget* window, gpointer data);
void on_main_window_destroy(GtkWidget* window, gpointer data);
// Starts the orderly end; always true, the window is destroyed once nothing runs any more.
gboolean on_main_window_delete(GtkWidget* window, GdkEvent* event, gpointer data);

void on_button_1_clicked(GtkButton* button, gpointer data);
// The link is up: shows the remote side and loads its drives.
void on_button_2_clicked(GtkButton* button, gpointer data);
gboolean on_textbox_1_key_press_event(GtkWidget* entry, GdkEventKey* event, gpointer data);
void on_combobox_1_changed(GtkComboBox* combo, gpointer data);
// The drive box opens or closes its list: choosing the entry that it shows opens that again.
void on_drive_list_shown(GtkWidget* combo, GParamSpec* property, gpointer data);

void on_treeview_1_row_activated(GtkTreeView* tree_view, GtkTreePath* path, GtkTreeViewColumn* column,
                                 gpointer data);
void on_treeview_1_row_changed(GtkTreeModel* model, GtkTreePath* path, GtkTreeIter* iter, gpointer data);

namespace relay_hub {

// True once the main window was destroyed.
bool main_window_is_gone();

}  // namespace relay_hub
