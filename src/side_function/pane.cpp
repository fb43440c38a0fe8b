#include "side_function/pane.h"

#include <algorithm>

#include "base/path_text.h"
#include "base/shown_text.h"
#include "base/translated_text.h"
#include "link_engine/command_runner.h"
#include "link_engine/request_builders.h"
#include "link_engine/transfer_state.h"
#include "side_function/engine_messages.h"
#include "side_function/wire_path.h"
#include "tree_view_op/file_list_view.h"
#include "tree_view_op/list_place.h"
#include "tree_view_op/toolkit_owners.h"
#include "util/path_kind.h"
#include "window/closing.h"
#include "window/dialogs/message_dialog.h"
#include "window/dialogs/search_dialog.h"
#include "xml_op/answer_readers.h"

namespace relay_hub {
namespace {

bool offline_view_is_shown() {
    GtkWidget* box = get_UI_sets()->right_side->offline_box;
    return box != nullptr && gtk_widget_get_visible(box) != FALSE;
}

// With tell_unlisted false Pane::kUnlisted for a folder that the engine does not list.
int load_remote(const std::string& folder, bool tell_unlisted) {
    // Also for the reloads that end other actions: an engine that stays silent then must not hold the window.
    const BusyDialog busy;
    __send_args args;
    args.list_path = folder;
    args.list_path_hex = traced_unicode_hex(folder);
    args.command_code = kCodeFileList;
    args.parent_window = message_parent();
    // The offline view says already why there is no list, and a box would keep it from going.
    args.tell_unlisted = tell_unlisted && !offline_view_is_shown();
    args.parse = parse_file_list;
    const int result = send_command_t(set_NP_VAL_CMD_GET_FILE_LIST, get_NP_VAL_CMD_GET_FILE_LIST, &args);
    if (args.unlisted && !tell_unlisted) {
        SetShowMessageBox("");
        return Pane::kUnlisted;
    }
    // An engine that left entries out says so.
    show_waiting_message();
    return result;
}

}  // namespace

std::string Pane::path_of(const std::string& name) const {
    return is_remote_ ? join_remote_path(folder(), name) : join_local_path(folder(), name);
}

std::vector<std::string> Pane::selection() const {
    std::vector<std::string> names = selected_names(list());
    std::erase_if(names, [](const std::string& name) { return name.empty(); });
    return names;
}

std::vector<std::string> Pane::selected_paths() const {
    std::vector<std::string> paths = selection();
    for (std::string& path : paths)
        path = path_of(path);
    return paths;
}

bool Pane::may_act_on(const std::vector<std::string>& names) const {
    // A local name comes from the file system, which allows no separator in it.
    if (!is_remote_)
        return true;
    const char* const separators = check_path_for_platform(folder().c_str()) == 1 ? "/\\" : "/";
    const auto path = std::find_if(names.begin(), names.end(), [=](const std::string& name) {
        return name.find_first_of(separators) != std::string::npos;
    });
    if (path == names.end())
        return true;
    show_error_box(message_parent(), GTK_BUTTONS_OK,
                   fill_translated("IDS_MSG_NAME_IS_PATH", {shown_text(*path)}));
    return false;
}

int Pane::first_selected_position() const {
    std::optional<int> first;
    for_each_selected(GTK_TREE_VIEW(list()), [&](GtkTreeModel* model, GtkTreeIter* iter) {
        if (!first)
            first = gtk_tree_path_get_indices(TreePathPtr(gtk_tree_model_get_path(model, iter)).get())[0];
    });
    return first.value_or(0);
}

int Pane::load(const std::string& folder) const {
    if (window_is_closing())
        return -1;
    const WindowWork work;
    return is_remote_ ? load_remote(folder, true) : once_search_and_insert_to_treeview(folder, list());
}

int Pane::try_to_load_remote(const std::string& folder) {
    if (window_is_closing())
        return -1;
    const WindowWork work;
    return load_remote(folder, false);
}

int Pane::reload() const {
    const std::vector<std::string> selected = selection();
    const int result = load(folder());
    if (result == 0 && selected.size() == 1)
        select_row_by_name(list(), selected.front());
    return result;
}

void Pane::reload_after_copy(const Arrival& arrival) const {
    std::vector<std::string> names = arrival.names;
    if (arrival.some_refused)
        remove_shown_names(list(), names);
    const ListPlace place(list());
    if (load(folder()) != 0 || window_is_closing())
        return;
    if (!select_rows_by_name(list(), names, ""))
        place.restore();
}

void Pane::select(const std::vector<std::string>& names, const std::string& cursor) const {
    if (window_is_closing() || names.empty())
        return;
    select_rows_by_name(list(), names, cursor);
    gtk_widget_grab_focus(list());
}

void Pane::select_near(int position) const {
    if (window_is_closing())
        return;
    select_row_near(list(), position);
    gtk_widget_grab_focus(list());
}

}  // namespace relay_hub
