#include "side_function/panes.h"

#include <algorithm>
#include <cstdio>

#include "link_engine/transfer_state.h"
#include "side_function/left_side.h"
#include "side_function/right_side.h"
#include "tree_view_op/file_list_view.h"
#include "util/ansi_unicode_hex.h"
#include "window/closing.h"
#include "window/dialogs/file_read_write_dialog.h"
#include "window/dialogs/message_dialog.h"
#include "window/message_parent.h"

namespace relay_hub {
namespace {

int reload(const __single* side, int (*load)(GtkWidget* window, const std::string& folder)) {
    const std::vector<std::string> selected = selected_names(side->tree_view);
    const int result = load(get_UI_sets()->main_window, folder_of(side));
    if (result == 0 && selected.size() == 1)
        select_row_by_name(side->tree_view, selected.front());
    return result;
}

}  // namespace

__single* local_side() {
    return get_UI_sets()->left_side;
}

__single* remote_side() {
    return get_UI_sets()->right_side;
}

std::string folder_of(const __single* side) {
    return current_folder(side);
}

std::vector<std::string> selected_names(GtkWidget* tree_view) {
    std::vector<std::string> names = get_selected_to_glist(tree_view);
    std::erase_if(names, [](const std::string& name) { return name.empty(); });
    return names;
}

int first_selected_position(GtkWidget* tree_view) {
    GList* const paths = get_selected_to_treepath_list(tree_view);
    int first = -1;
    for (const GList* link = paths; link != nullptr; link = link->next) {
        const int position = gtk_tree_path_get_indices(static_cast<GtkTreePath*>(link->data))[0];
        first = first < 0 ? position : std::min(first, position);
    }
    g_list_free_full(paths, [](gpointer path) { gtk_tree_path_free(static_cast<GtkTreePath*>(path)); });
    return std::max(first, 0);
}

std::string remote_base_name(const std::string& path) {
    const char separator = path.size() > 1 && path[1] == ':' ? '\\' : '/';
    const std::size_t at = path.rfind(separator);
    return at == std::string::npos ? path : path.substr(at + 1);
}

std::string traced_unicode_hex(const std::string& text) {
    std::string hex = unicode_hex(text);
    if (!hex.empty()) {
        std::printf("length:%zu\n", hex.size() / 4);
        std::printf("unicode string length:%zu\n%s\n", hex.size(), hex.c_str());
    }
    return hex;
}

void show_waiting_message() {
    const std::string message = GetShowMessageBox();
    if (message.empty() || window_is_closing())
        return;
    SetShowMessageBox("");
    std::puts("show error message");
    show_message_dialog(message_parent(), message.c_str(), nullptr);
}

void show_end_message(int result) {
    if (result == -1 && IsUserClickCancel() == 0 && GetShowMessageBox().empty())
        SetShowMessageBox("Operation Fail.");
    show_waiting_message();
}

int reload_local() {
    return reload(local_side(), left_treeview_load_file);
}

int reload_remote() {
    return reload(remote_side(), right_treeview_load_file);
}

void select_after_reload(const __single* side, const std::string& name) {
    if (window_is_closing())
        return;
    select_row_by_name(side->tree_view, name);
    gtk_widget_grab_focus(side->tree_view);
}

void select_after_reload(const __single* side, const std::vector<std::string>& names,
                         const std::string& cursor) {
    if (window_is_closing())
        return;
    select_rows_by_name(side->tree_view, names, cursor);
    gtk_widget_grab_focus(side->tree_view);
}

void select_after_reload(const __single* side, int position) {
    if (window_is_closing())
        return;
    select_row_near(side->tree_view, position);
    gtk_widget_grab_focus(side->tree_view);
}

ProgressDialog::ProgressDialog(volatile int* state, const int* task_kind, GSourceFunc updater) {
    set_update_fun(updater);
    std::puts("show dialog!");
    show_file_read_write_dialog(get_UI_sets()->main_window, &dialog_, dialog_job{state, task_kind},
                                *task_kind);
}

ProgressDialog::~ProgressDialog() {
    close();
}

void ProgressDialog::close() {
    if (!open_)
        return;
    open_ = false;
    std::puts("close dialog!");
    close_file_read_write_dialog(dialog_);
    relese_update_fun();
}

}  // namespace relay_hub
