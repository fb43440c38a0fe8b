#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <utility>

#include "base/path_text.h"
#include "base/translated_text.h"
#include "link_engine/command_runner.h"
#include "link_engine/request_builders.h"
#include "link_engine/transfer_state.h"
#include "side_function/copy_source.h"
#include "side_function/name_dialogs.h"
#include "side_function/panes.h"
#include "side_function/right_side.h"
#include "side_function/transfer.h"
#include "tree_view_op/file_list_view.h"
#include "window/closing.h"
#include "window/dialogs/message_dialog.h"
#include "window/dialogs/search_dialog.h"
#include "window/message_parent.h"
#include "xml_op/answer_readers.h"

namespace {

using relay_hub::remote_side;
using relay_hub::WindowWork;

int request_folder(const std::string& path) {
    __send_args args;
    args.task_kind = kTaskCreateFolder;
    args.source_path = path;
    args.source_path_hex = relay_hub::traced_unicode_hex(path);
    args.parent_window = relay_hub::message_parent();
    std::puts("create thread!");
    CleanUpInformationVar();
    relay_hub::free_return_message();
    const relay_hub::BusyDialog busy;
    return send_command_t(set_NP_VAL_CMD_CREATE_FOLDER, get_NP_VAL_CMD_CREATE_FOLDER, &args);
}

void show_operation_failure() {
    const std::string& reason = relay_hub::return_message();
    if (reason.empty() || relay_hub::window_is_closing())
        return;
    relay_hub::show_error_box(relay_hub::message_parent(), GTK_BUTTONS_OK, "Operation Fail.",
                              (reason + ".").c_str());
}

// What is told of an answer that could not be judged.
struct ResultLine {
    int result;
    const char* line;
};
constexpr ResultLine kUnjudged[] = {{RET_XML_TAG_MISS, "capture RET_XML_TAG_MISS!\n"},
                                    {RET_XML_FMT_ERROR, "capture RET_XML_FMT_ERROR!\n"},
                                    {RET_XML_NULL, "capture RET_XML_NULL!\n"}};

void tell_folder_result(int result, const std::string& path) {
    if (result == 0) {
        std::printf("create folder [%s]\n", path.c_str());
        return;
    }
    if (result == -1) {
        show_operation_failure();
        return;
    }
    const auto* const known = std::find_if(std::begin(kUnjudged), std::end(kUnjudged),
                                           [=](const ResultLine& row) { return row.result == result; });
    (void)std::fputs(known == std::end(kUnjudged) ? "no capture!\n" : known->line, stderr);
}

int request_rename(const std::string& old_path, const std::string& new_path) {
    __send_args args;
    args.task_kind = kTaskRename;
    args.source_path_hex = relay_hub::traced_unicode_hex(old_path);
    args.target_path_hex = relay_hub::traced_unicode_hex(new_path);
    args.parent_window = relay_hub::message_parent();
    std::puts("create thread!");
    const relay_hub::BusyDialog busy;
    return send_command_t(set_NP_VAL_CMD_RENAME, get_NP_VAL_CMD_RENAME, &args);
}

int request_list(const std::string& path) {
    // Also for the reloads that end other actions: an engine that stays silent then must not hold the window.
    const relay_hub::BusyDialog busy;
    __send_args args;
    args.list_path = path;
    args.list_path_hex = relay_hub::traced_unicode_hex(path);
    args.command_code = kCodeFileList;
    args.parent_window = relay_hub::message_parent();
    return send_command_t(set_NP_VAL_CMD_GET_FILE_LIST, get_NP_VAL_CMD_GET_FILE_LIST, &args);
}

// True when the entry bears the new name now.
bool rename_remote(const std::string& folder, const std::string& old_name, const std::string& new_name) {
    const int result = request_rename(relay_hub::join_remote_path(folder, old_name),
                                      relay_hub::join_remote_path(folder, new_name));
    if (result != -1) {
        std::printf("rename [%s] to [%s]\n", old_name.c_str(), new_name.c_str());
        return true;
    }
    // What failed on the other machine left no error number here.
    const std::string text = relay_hub::fill_translated("IDS_MSG_ERR_FAIL_TO_RENAME_FILE",
                                                        {old_name, relay_hub::error_text(EREMOTEIO)});
    if (!relay_hub::window_is_closing())
        relay_hub::show_error_box(relay_hub::message_parent(), GTK_BUTTONS_OK, text.c_str(), nullptr);
    return false;
}

// The hex texts of the entries, in the order of names: the reverse of the selection.
std::vector<std::string> trash_list(const std::vector<std::string>& names, const std::string& folder) {
    std::vector<std::string> list;
    for (const std::string& name : names) {
        std::printf("delete [%s]\n", name.c_str());
        std::string hex = relay_hub::traced_unicode_hex(relay_hub::join_remote_path(folder, name));
        if (hex.empty())
            relay_hub::report(REMOTE_PANE_HERE, "the name cannot be sent, entry left alone:", name);
        else
            list.push_back(std::move(hex));
    }
    return list;
}

int request_trash(const std::vector<std::string>& names, const std::string& folder, __send_args& args) {
    args.item_paths_hex = trash_list(names, folder);
    args.parent_window = relay_hub::message_parent();
    if (args.item_paths_hex.empty())
        return -1;
    const int result =
        send_command_t(set_NP_VAL_CMD_MOVE_FILE_TO_TRASH, get_NP_VAL_CMD_MOVE_FILE_TO_TRASH, &args);
    relay_hub::show_end_message(result);
    return result;
}

int load_with(command_start_t start, command_finish_t finish, int code) {
    __send_args args;
    args.command_code = code;
    args.parent_window = relay_hub::message_parent();
    return send_command_t(start, finish, &args);
}

}  // namespace

int right_treeview_load_file(GtkWidget*, const std::string& path) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    const int result = request_list(path);
    // What the engine said of the list while it was asked for: entries that are not in it.
    relay_hub::show_waiting_message();
    return result;
}

int right_combobox_load_partition(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    const int special = load_with(set_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH,
                                  get_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH, kCodeSpecialPath);
    // One of the two is enough to work with.
    return special &
           load_with(set_NP_VAL_CMD_GET_DRIVER_LIST, get_NP_VAL_CMD_GET_DRIVER_LIST, kCodeDriverList);
}

int right_popup_menu_mkdir(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    std::puts("right_popup_menu_mkdir");
    const std::string folder = relay_hub::folder_of(remote_side());
    const std::string name = relay_hub::ask_folder_name();
    if (name.empty())
        return 0;
    const std::string path = relay_hub::join_remote_path(folder, name);
    const int result = request_folder(path);
    tell_folder_result(result, path);
    if (relay_hub::reload_remote() == 0)
        relay_hub::select_after_reload(remote_side(), name);
    CleanUpInformationVar();
    relay_hub::free_return_message();
    return result;
}

int right_popup_menu_rename(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    std::puts("right_popup_menu_rename");
    const __single* const side = remote_side();
    const std::string folder = relay_hub::folder_of(side);
    std::vector<std::string> names = relay_hub::selected_names(side->tree_view);
    std::string name = relay_hub::name_to_rename(side->tree_view);
    if (!name.empty()) {
        const std::string new_name = relay_hub::ask_new_name(side, name, folder);
        if (!new_name.empty() && new_name != name && rename_remote(folder, name, new_name)) {
            std::replace(names.begin(), names.end(), name, new_name);
            name = new_name;
        }
    }
    const relay_hub::BusyDialog busy;
    const int result = relay_hub::reload_remote();
    if (result == 0 && !names.empty())
        relay_hub::select_after_reload(side, names, name);
    CleanUpInformationVar();
    return result;
}

int right_popup_menu_delete(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    std::puts("right_popup_menu_delete");
    const __single* const side = remote_side();
    const std::vector<std::string> names = relay_hub::selected_names(side->tree_view);
    const int position = relay_hub::first_selected_position(side->tree_view);
    __send_args args;
    args.task_kind = TASK_DEL;
    CleanUpInformationVar();
    relay_hub::ProgressDialog dialog(&args.state, &args.task_kind, update_dialog_info);
    request_trash(names, relay_hub::folder_of(side), args);
    const int result = relay_hub::reload_remote();
    if (result == 0)
        relay_hub::select_after_reload(side, position);
    set_atomic(&args.state, kStateFinished);
    dialog.close();
    CleanUpInformationVar();
    return result;
}

int right_popup_menu_copy(GtkWidget*, gpointer tree_view) {
    if (relay_hub::window_is_closing())
        return -1;
    auto* const list = static_cast<GtkWidget*>(tree_view);
    const std::vector<std::string> names = relay_hub::selected_names(list);
    if (names.empty())
        return -1;
    const std::string folder = relay_hub::folder_of(remote_side());
    release_copy_to_remote_file_list();
    relay_hub::remember_remote_selection(list, folder);
    relay_hub::keep_remote_copy();
    g_copy_source = kCopiedRemotely;
    g_p_tree_view = list;
    std::vector<std::string> paths;
    for (const std::string& name : names) {
        paths.push_back(relay_hub::join_remote_path(folder, name));
        std::printf("set data is [%s]\n", paths.back().c_str());
    }
    set_copy_to_remote_file_list({paths.rbegin(), paths.rend()});
    std::printf("create new memory addr. %p\n", static_cast<void*>(&g_copy_to_remote_file_list));
    return 0;
}

int right_popup_menu_paste(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    std::puts("right_popup_menu_paste");
    if (g_copy_source == kCopiedRemotely) {
        release_copy_to_remote_file_list();
        relay_hub::nothing_copied();
        return -1;
    }
    return relay_hub::paste_into_remote_folder([] {
        std::vector<std::string> paths;
        get_from_clipboard(paths);
        return paths;
    });
}
