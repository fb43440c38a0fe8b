#include "ui/event_handlers.h"

#include <cstdio>

#include "base/log.h"
#include "base/translated_text.h"
#include "side_function/left_side.h"
#include "tree_view_op/file_list_view.h"
#include "ui/link_status_monitor.h"
#include "ui/navigation.h"
#include "window/closing.h"
#include "window/dialogs/dialog_parts.h"
#include "window/dialogs/search_dialog.h"
#include "window/ui_sets.h"

namespace {

using relay_hub::side_of;
using relay_hub::WindowWork;

// True for ".." and for folders, recognised by their type text.
bool can_be_opened(GtkTreeModel* model, GtkTreeIter* iter, const std::string& name) {
    return name == ".." ||
           relay_hub::row_text(model, iter, kColumnType) == relay_hub::translated("IDS_FH_FOLDER");
}

constexpr char kShownDrive[] = "relay-hub-shown-drive";

// The box itself signals the choice of another entry.
void open_shown_drive(GtkMenuItem*, gpointer combo) {
    const int shown = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(combo), kShownDrive));
    if (gtk_combo_box_get_active(GTK_COMBO_BOX(combo)) == shown)
        on_combobox_1_changed(GTK_COMBO_BOX(combo), nullptr);
}

void load_local_side() {
    __single* side = get_UI_sets()->left_side;
    const relay_hub::BusyDialog busy;
    left_combobox_load_partition(get_UI_sets()->main_window, nullptr);
    relay_hub::open_first_drive(side);
    relay_hub::sort_by_name(side);
    gtk_widget_grab_focus(side->tree_view);
}

}  // namespace

constinit relay_hub::EventState relay_hub::event_state;

void on_main_window_show(GtkWidget*, gpointer) {
    std::puts(__func__);
    relay_hub::event_state = {};
    const WindowWork work;
    const UI* ui = get_UI_sets();
    std::printf("left:%p\tright:%p\n", static_cast<void*>(ui->left_side->tree_view),
                static_cast<void*>(ui->right_side->tree_view));
    relay_hub::show_offline_view();
    load_local_side();
    relay_hub::start_waiting();
    std::puts("close dialog!");
}

void on_main_window_destroy(GtkWidget*, gpointer) {
    std::puts(__func__);
    relay_hub::event_state.window_gone = true;
    // The window may be closed before the main loop has begun.
    if (gtk_main_level() > 0)
        gtk_main_quit();
}

gboolean on_main_window_delete(GtkWidget*, GdkEvent*, gpointer) {
    relay_hub::close_window();
    return TRUE;
}

void on_button_1_clicked(GtkButton* button, gpointer) {
    std::puts(__func__);
    (void)write_log(kEventLogPath, __func__);
    __single* side = side_of(button);
    if (side == nullptr || relay_hub::window_is_busy())
        return;
    const WindowWork work;
    relay_hub::open_typed_path(side);
}

void on_button_2_clicked(GtkButton*, gpointer) {
    std::puts(__func__);
    if (relay_hub::window_is_busy())
        return;
    const WindowWork work;
    relay_hub::show_online_view();
    relay_hub::load_remote_drives();
}

gboolean on_textbox_1_key_press_event(GtkWidget* entry, GdkEventKey* event, gpointer) {
    std::puts(__func__);
    const __single* side = side_of(entry);
    if (side != nullptr && relay_hub::is_return(event->keyval))
        gtk_button_clicked(GTK_BUTTON(side->go_button));
    return FALSE;
}

void on_combobox_1_changed(GtkComboBox* combo, gpointer) {
    (void)std::fprintf(stderr, "%s\n", __func__);
    __single* side = side_of(combo);
    if (side == nullptr || relay_hub::window_is_busy())
        return;
    const WindowWork work;
    relay_hub::open_chosen_drive(side);
}

// Only the menu's own items tell of the choice of the entry that is active already.
void on_drive_list_shown(GtkWidget* combo, GParamSpec*, gpointer) {
    gboolean shown = FALSE;
    g_object_get(combo, "popup-shown", &shown, nullptr);
    const GList* const menus = gtk_menu_get_for_attach_widget(combo);
    if (shown == FALSE || menus == nullptr)
        return;
    g_object_set_data(G_OBJECT(combo), kShownDrive,
                      GINT_TO_POINTER(gtk_combo_box_get_active(GTK_COMBO_BOX(combo))));
    GList* const items = gtk_container_get_children(GTK_CONTAINER(menus->data));
    for (const GList* item = items; item != nullptr; item = item->next) {
        g_signal_handlers_disconnect_by_func(item->data, reinterpret_cast<gpointer>(open_shown_drive), combo);
        g_signal_connect(item->data, "activate", G_CALLBACK(open_shown_drive), combo);
    }
    g_list_free(items);
}

void on_treeview_1_row_activated(GtkTreeView* tree_view, GtkTreePath* path, GtkTreeViewColumn*, gpointer) {
    std::puts(__func__);
    (void)write_log(kEventLogPath, __func__);
    __single* side = side_of(tree_view);
    GtkTreeModel* model = gtk_tree_view_get_model(tree_view);
    GtkTreeIter iter;
    if (side != nullptr && !relay_hub::window_is_busy() &&
        gtk_tree_model_get_iter(model, &iter, path) != FALSE) {
        const WindowWork work;
        const std::string name = relay_hub::row_name(model, &iter);
        std::printf("The row containing the name \"%s\" has been double-clicked.\n", name.c_str());
        if (can_be_opened(model, &iter, name))
            relay_hub::open_sub_folder(side, name);
    }
    single_clicked = kClickIdle;
}

void on_treeview_1_row_changed(GtkTreeModel*, GtkTreePath*, GtkTreeIter*, gpointer) {
    std::puts(__func__);
}

namespace relay_hub {

bool main_window_is_gone() {
    return event_state.window_gone;
}

}  // namespace relay_hub
