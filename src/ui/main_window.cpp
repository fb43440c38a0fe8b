#include "ui/main_window.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

#include "base/glib_owners.h"
#include "base/translated_text.h"
#include "tree_view_op/file_list_view.h"
#include "tree_view_op/list_summary.h"
#include "tree_view_op/row_store.h"
#include "ui/event_handlers.h"
#include "ui/keyboard.h"
#include "ui/list_drag.h"
#include "ui/list_mouse.h"
#include "ui/window_icon.h"
#include "window/closing.h"

namespace {

using relay_hub::translated;

constexpr int kWindowWidth = 700;
constexpr int kWindowHeight = 400;
constexpr int kDivider = 350;
constexpr int kDriveColumns = 3;  // icon, label, path
constexpr auto kDragActions = static_cast<GdkDragAction>(GDK_ACTION_COPY | GDK_ACTION_MOVE);
constexpr auto kDropActions = static_cast<GdkDragAction>(GDK_ACTION_COPY | GDK_ACTION_MOVE | GDK_ACTION_LINK);

struct Connection {
    const char* signal;
    GCallback handler;
};

const Connection kListConnections[] = {
    {"row_activated", G_CALLBACK(on_treeview_1_row_activated)},
    {"key-press-event", G_CALLBACK(on_treeview_1_key_press_event)},
    {"popup-menu", G_CALLBACK(on_treeview_1_popup_menu)},
    {"drag-motion", G_CALLBACK(on_treeview_1_drag_motion)},
    {"drag-leave", G_CALLBACK(on_treeview_1_drag_leave)},
    {"drag-data-received", G_CALLBACK(on_treeview_1_drag_data_received)},
    {"drag-drop", G_CALLBACK(on_treeview_1_drag_drop)},
    {"drag-data-get", G_CALLBACK(on_treeview_1_drag_data_get)},
    {"button-press-event", G_CALLBACK(on_treeview_1_button_press_event)},
    {"button-release-event", G_CALLBACK(on_treeview_1_button_release_event)},
    {"drag-begin", G_CALLBACK(relay_hub::on_list_drag_begin)},
    {"drag-end", G_CALLBACK(relay_hub::on_list_drag_end)},
};

const Connection kWindowConnections[] = {
    {"key-press-event", G_CALLBACK(relay_hub::on_window_key_press)},
    {"show", G_CALLBACK(on_main_window_show)},
    {"delete-event", G_CALLBACK(on_main_window_delete)},
    {"destroy", G_CALLBACK(on_main_window_destroy)},
};

template <std::size_t Count>
void connect_all(GtkWidget* widget, const Connection (&connections)[Count]) {
    for (const Connection& connection : connections)
        g_signal_connect(widget, connection.signal, connection.handler, widget);
}

// The toolkit swallows a close of the main window while a modal dialog holds the grab.
void handle_event(GdkEvent* event, gpointer) {
    const GtkWidget* window = get_UI_sets()->main_window;
    if (event->type == GDK_DELETE && window != nullptr && event->any.window == window->window)
        relay_hub::close_window();
    else
        gtk_main_do_event(event);
}

// Of this window and of all that open later: the about box shows it as its picture.
void set_icon(GtkWidget* window) {
    const auto pictures = relay_hub::load_window_icons(kWindowIconPath);
    GList* list = nullptr;
    for (const auto& picture : pictures)
        list = g_list_append(list, picture.get());
    gtk_window_set_icon_list(GTK_WINDOW(window), list);
    gtk_window_set_default_icon_list(list);
    g_list_free(list);
}

GtkWidget* new_top_level() {
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), relay_hub::kProgramName);
    gtk_window_set_position(GTK_WINDOW(window), GTK_WIN_POS_CENTER);
    gtk_container_set_border_width(GTK_CONTAINER(window), 0);
    gtk_widget_set_size_request(window, kWindowWidth, kWindowHeight);
    gtk_window_set_resizable(GTK_WINDOW(window), TRUE);
    set_icon(window);
    connect_all(window, kWindowConnections);
    return window;
}

GtkWidget* new_scroller() {
    GtkWidget* scroller = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_scrolled_window_set_shadow_type(GTK_SCROLLED_WINDOW(scroller), GTK_SHADOW_ETCHED_IN);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_AUTOMATIC, GTK_POLICY_AUTOMATIC);
    return scroller;
}

void allow_drags(GtkWidget* tree_view, bool is_local) {
    // Remote rows have no URI that another program could open.
    const GtkTargetEntry& offered = drop_targets[is_local ? kUriListTarget : kTreeRowTarget];
    gtk_drag_source_set(tree_view, GDK_BUTTON1_MASK, &offered, 1, kDragActions);
    gtk_drag_dest_set(tree_view, GTK_DEST_DEFAULT_ALL, drop_targets, kDropTargetCount, kDropActions);
}

GtkWidget* new_file_list(bool is_local) {
    GType types[kColumnCount];
    std::fill(std::begin(types), std::end(types), G_TYPE_STRING);
    const relay_hub::GObjectPtr<GtkListStore> store(gtk_list_store_newv(kColumnCount, types));
    GtkWidget* tree_view = gtk_tree_view_new();
    set_list_treeview(tree_view);
    relay_hub::show_store(GTK_TREE_VIEW(tree_view), store.get());
    GtkTreeSelection* selection = gtk_tree_view_get_selection(GTK_TREE_VIEW(tree_view));
    gtk_tree_selection_set_mode(selection, GTK_SELECTION_MULTIPLE);
    gtk_tree_selection_set_select_function(selection, treeview_selected_callback, nullptr, nullptr);
    // Before the toolkit's own handlers of a drag, which this keeps from seeing some motions; all others
    // after them, because a press that we handle may become a drag.
    g_signal_connect(tree_view, "motion-notify-event", G_CALLBACK(relay_hub::on_list_motion), nullptr);
    allow_drags(tree_view, is_local);
    connect_all(tree_view, kListConnections);
    g_signal_connect(store.get(), "row-changed", G_CALLBACK(on_treeview_1_row_changed), tree_view);
    return tree_view;
}

GtkWidget* new_drive_box() {
    const relay_hub::GObjectPtr<GtkListStore> store(
        gtk_list_store_new(kDriveColumns, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING));
    GtkWidget* combo = gtk_combo_box_new_with_model(GTK_TREE_MODEL(store.get()));
    GtkCellLayout* cells = GTK_CELL_LAYOUT(combo);
    GtkCellRenderer* icon = gtk_cell_renderer_pixbuf_new();
    gtk_cell_layout_pack_start(cells, icon, FALSE);
    gtk_cell_layout_add_attribute(cells, icon, "icon-name", 0);
    GtkCellRenderer* label = gtk_cell_renderer_text_new();
    g_object_set(label, "single-paragraph-mode", TRUE, "ellipsize", PANGO_ELLIPSIZE_MIDDLE, nullptr);
    gtk_cell_layout_pack_start(cells, label, TRUE);
    gtk_cell_layout_add_attribute(cells, label, "text", 1);
    GtkCellRenderer* path = gtk_cell_renderer_text_new();
    g_object_set(path, "visible", FALSE, nullptr);
    gtk_cell_layout_pack_start(cells, path, FALSE);
    gtk_cell_layout_add_attribute(cells, path, "text", 2);
    g_signal_connect(combo, "changed", G_CALLBACK(on_combobox_1_changed), nullptr);
    g_signal_connect(combo, "notify::popup-shown", G_CALLBACK(on_drive_list_shown), nullptr);
    return combo;
}

void name_for_assistance(GtkWidget* widget, const char* name, const char* pane) {
    AtkObject* accessible = gtk_widget_get_accessible(widget);
    atk_object_set_name(accessible, name);
    atk_object_set_description(accessible, pane);
}

void name_side_for_assistance(const __single* side, const char* pane) {
    name_for_assistance(side->path_entry, translated("IDS_A11Y_PATH"), pane);
    name_for_assistance(side->go_button, translated("IDS_OK"), pane);
    name_for_assistance(side->drive_combo, translated("IDS_A11Y_DRIVES"), pane);
    name_for_assistance(side->scroller, translated("IDS_A11Y_FILES"), pane);
    name_for_assistance(side->tree_view, translated("IDS_A11Y_FILES"), pane);
}

GtkWidget* packed_row(GtkWidget* box, bool expand, guint padding) {
    GtkWidget* row = gtk_hbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), row, expand, expand, padding);
    return row;
}

// The rows of a side: path, current folder, drives, files, and what these come to.
GtkWidget* new_rows(const __single* side) {
    GtkWidget* box = gtk_vbox_new(FALSE, 0);
    GtkWidget* path_row = packed_row(box, false, 0);
    gtk_box_pack_start(GTK_BOX(path_row), side->path_entry, TRUE, TRUE, 5);
    gtk_box_pack_start(GTK_BOX(path_row), side->go_button, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(packed_row(box, false, 0)), side->status_label, TRUE, TRUE, 5);
    gtk_box_pack_start(GTK_BOX(packed_row(box, false, 0)), side->drive_combo, TRUE, TRUE, 0);
    gtk_container_add(GTK_CONTAINER(side->scroller), side->tree_view);
    gtk_box_pack_start(GTK_BOX(packed_row(box, true, 1)), side->scroller, TRUE, TRUE, 1);
    gtk_box_pack_start(GTK_BOX(packed_row(box, false, 1)), relay_hub::new_list_summary(side->tree_view), TRUE,
                       TRUE, 5);
    return box;
}

GtkWidget* new_remote_content(__single* side) {
    side->content_box = new_rows(side);
    side->offline_box = gtk_vbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(side->offline_box), side->disconnect_label, TRUE, TRUE, 1);
    GtkWidget* outer = gtk_vbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(outer), side->content_box, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(outer), side->offline_box, TRUE, TRUE, 0);
    return outer;
}

void frame_side(const __single* side, GtkWidget* content, const char* title) {
    gtk_frame_set_label(GTK_FRAME(side->frame), title);
    gtk_frame_set_shadow_type(GTK_FRAME(side->frame), GTK_SHADOW_IN);
    gtk_container_add(GTK_CONTAINER(side->frame), content);
    name_side_for_assistance(side, title);
}

void set_visible(std::initializer_list<GtkWidget*> widgets, bool visible) {
    for (GtkWidget* widget : widgets)
        gtk_widget_set_visible(widget, visible);
}

void set_remote_visible(bool visible) {
    const __single& side = *get_UI_sets()->right_side;
    set_visible(
        {side.content_box, side.go_button, side.path_entry, side.drive_combo, side.scroller, side.tree_view},
        visible);
}

}  // namespace

void new_sub(__single* side, int is_local) {
    side->frame = gtk_frame_new("");
    side->go_button = gtk_button_new_with_label(translated("IDS_OK"));
    g_signal_connect(side->go_button, "clicked", G_CALLBACK(on_button_1_clicked), nullptr);
    side->spare_button = gtk_button_new();
    g_signal_connect(side->spare_button, "clicked", G_CALLBACK(on_button_2_clicked), nullptr);
    side->status_label = gtk_label_new("");
    gtk_misc_set_alignment(GTK_MISC(side->status_label), 0, 0);
    side->disconnect_label = gtk_label_new(translated("IDS_ERROR_DISCONNECT"));
    side->path_entry = gtk_entry_new();
    g_signal_connect(side->path_entry, "key_press_event", G_CALLBACK(on_textbox_1_key_press_event), nullptr);
    side->scroller = new_scroller();
    side->tree_view = new_file_list(is_local != 0);
    side->drive_combo = new_drive_box();
}

UI* new_window() {
    UI* ui = get_UI_sets();
    gdk_event_handler_set(handle_event, nullptr, nullptr);
    ui->main_window = new_top_level();
    ui->paned = gtk_hpaned_new();
    gtk_paned_set_position(GTK_PANED(ui->paned), kDivider);
    name_for_assistance(ui->paned, translated("IDS_A11Y_DIVIDER"), relay_hub::kProgramName);
    new_sub(&sub[0], 1);
    ui->left_side = &sub[0];
    new_sub(&sub[1], 0);
    ui->right_side = &sub[1];
    return ui;
}

UI* new_zev_window() {
    UI* ui = new_window();
    GtkWidget* box = gtk_vbox_new(FALSE, 0);
    gtk_container_add(GTK_CONTAINER(ui->main_window), box);
    gtk_box_pack_start(GTK_BOX(box), ui->paned, TRUE, TRUE, 5);
    frame_side(ui->left_side, new_rows(ui->left_side), translated("IDS_THIS_PC"));
    gtk_paned_pack1(GTK_PANED(ui->paned), ui->left_side->frame, FALSE, TRUE);
    frame_side(ui->right_side, new_remote_content(ui->right_side), translated("IDS_REMOTE_MAC_INFO"));
    gtk_paned_pack2(GTK_PANED(ui->paned), ui->right_side->frame, FALSE, TRUE);
    relay_hub::hold_widgets();
    return ui;
}

void visible_main_window() {
    const UI* ui = get_UI_sets();
    gtk_widget_show_all(ui->main_window);
    set_visible({ui->left_side->status_label, ui->right_side->status_label}, false);
}

void visible_local_widget() {
    const __single& side = *get_UI_sets()->left_side;
    set_visible(
        {side.frame, side.go_button, side.path_entry, side.drive_combo, side.scroller, side.tree_view}, true);
}

void invisible_local_widget() {
    gtk_widget_hide(get_UI_sets()->left_side->status_label);
}

void visible_remote_widget() {
    set_remote_visible(true);
}

void invisible_remote_widget() {
    set_remote_visible(false);
}
