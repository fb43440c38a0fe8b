#include "side_function/left_side.h"

#include "base/path_text.h"
#include "side_function/actions.h"
#include "window/closing.h"
#include "window/drive_box.h"

using relay_hub::Action;
using relay_hub::Pane;
using relay_hub::run_action;

int left_treeview_load_file(GtkWidget*, const std::string& folder) {
    return Pane::local().load(folder);
}

int left_combobox_load_partition(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    GtkWidget* const combo = Pane::local().widgets().drive_combo;
    if (const char* const home = g_get_home_dir())
        append_combobox_item(combo, "gtk-home", relay_hub::base_name(home).c_str(), home);
    append_combobox_item(combo, "gtk-directory", "/", "/");
    return 0;
}

int left_popup_menu_mkdir(GtkWidget*, gpointer) {
    return run_action(Pane::local(), Action::make_folder, __func__);
}

int left_popup_menu_delete(GtkWidget*, gpointer) {
    return run_action(Pane::local(), Action::remove);
}

int left_popup_menu_rename(GtkWidget*, gpointer) {
    return run_action(Pane::local(), Action::rename, __func__);
}

int left_popup_menu_refresh(GtkWidget*, gpointer) {
    return run_action(Pane::local(), Action::refresh);
}

int left_popup_menu_copy(GtkWidget*, gpointer) {
    return run_action(Pane::local(), Action::copy, __func__);
}

int left_popup_menu_paste(GtkWidget*, gpointer) {
    return run_action(Pane::local(), Action::paste);
}
