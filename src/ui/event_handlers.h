#pragma once
// The main window's signal handlers. One set serves both sides: each finds out whose widget it was given and
// calls one action. While a request or job runs they start nothing. Window's thread, GDK lock held.
#include <gtk/gtk.h>

// Drop targets of both lists: info 0 is a row dragged inside this program, info 1 a list of URIs.
inline constexpr guint kTreeRowTarget = 0;
inline constexpr guint kUriListTarget = 1;
inline constexpr int kDropTargetCount = 2;
extern const GtkTargetEntry drop_targets[kDropTargetCount];

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

gboolean on_treeview_1_button_press_event(GtkWidget* tree_view, GdkEventButton* event, gpointer data);
gboolean on_treeview_1_button_release_event(GtkWidget* tree_view, GdkEventButton* event, gpointer data);

gboolean on_treeview_1_key_press_event(GtkWidget* tree_view, GdkEventKey* event, gpointer data);
gboolean on_treeview_1_popup_menu(GtkWidget* tree_view, gpointer data);
gboolean on_treeview_1_focus(GtkWidget* tree_view, GtkDirectionType direction, gpointer data);
void on_treeview_1_changed(GtkTreeSelection* selection, gpointer data);

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

// True once the main window was destroyed.
bool main_window_is_gone();
// A press on the ".." row or on no row begins no drag.
gboolean on_list_motion(GtkWidget* tree_view, GdkEventMotion* event, gpointer data);
void on_list_drag_begin(GtkWidget* tree_view, GdkDragContext* context, gpointer data);
// However the drag ended, in another program too.
void on_list_drag_end(GtkWidget* tree_view, GdkDragContext* context, gpointer data);

}  // namespace relay_hub
