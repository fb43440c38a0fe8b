#include "side_function/left_side.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "base/diagnostics.h"
#include "base/glib_owners.h"
#include "base/path_text.h"
#include "base/rename_without_replacing.h"
#include "base/shown_text.h"
#include "base/translated_text.h"
#include "side_function/copy_source.h"
#include "side_function/local_job.h"
#include "side_function/name_dialogs.h"
#include "side_function/panes.h"
#include "side_function/transfer.h"
#include "tree_view_op/file_list_view.h"
#include "window/closing.h"
#include "window/dialogs/message_dialog.h"
#include "window/dialogs/search_dialog.h"
#include "window/drive_box.h"
#include "window/message_parent.h"

namespace {

using relay_hub::local_side;
using relay_hub::WindowWork;

constexpr mode_t kNewFolderMode = 0770;

void show_failure(const char* id, const std::string& name, int error_number) {
    const std::string text =
        relay_hub::fill_translated(id, {relay_hub::shown_text(name), relay_hub::error_text(error_number)});
    relay_hub::show_error_box(relay_hub::message_parent(), GTK_BUTTONS_OK, text.c_str(), nullptr);
}

void make_folder(const std::string& path) {
    std::printf("create name [%s]\n", path.c_str());
    if (::mkdir(path.c_str(), kNewFolderMode) != 0)
        show_failure("IDS_MSG_ERR_FAIL_TO_CREATE_FOLDER", path, errno);
}

// True when the entry bears the new name now.
bool rename_entry(const std::string& folder, const std::string& old_name, const std::string& new_name) {
    const std::string old_path = relay_hub::join_local_path(folder, old_name);
    const std::string new_path = relay_hub::join_local_path(folder, new_name);
    std::printf("rename [%s] to [%s]\n", old_path.c_str(), new_path.c_str());
    const int error = old_path == new_path
                          ? 0
                          : relay_hub::rename_without_replacing(AT_FDCWD, old_path, AT_FDCWD, new_path);
    if (error != 0)
        show_failure("IDS_MSG_ERR_FAIL_TO_RENAME_FILE", old_name, error);
    return error == 0;
}

void paste_offered_files() {
    std::vector<std::string> paths;
    get_from_clipboard(paths);
    for (const std::string& path : paths)
        std::printf("get data is [%s]\n", path.c_str());
    if (!paths.empty())
        relay_hub::copy_into_local_folder(std::move(paths), relay_hub::folder_of(local_side()));
    relay_hub::nothing_copied();
    free_old_copy_path();
    release_clipboard(nullptr);
}

}  // namespace

int left_treeview_load_file(GtkWidget*, const std::string& folder) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    return once_search_and_insert_to_treeview(folder, local_side()->tree_view);
}

int left_combobox_load_partition(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    GtkWidget* const combo = local_side()->drive_combo;
    if (const char* const home = g_get_home_dir()) {
        const relay_hub::GText label(g_path_get_basename(home));
        append_combobox_item(combo, "gtk-home", label.get(), home);
    }
    const relay_hub::GText label(g_path_get_basename("/"));
    append_combobox_item(combo, "gtk-directory", label.get(), "/");
    return 0;
}

int left_popup_menu_mkdir(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    std::puts("left_popup_menu_mkdir");
    const std::string folder = relay_hub::folder_of(local_side());
    const std::string name = relay_hub::ask_folder_name();
    if (!name.empty())
        make_folder(relay_hub::join_local_path(folder, name));
    const int result = relay_hub::reload_local();
    if (!name.empty())
        relay_hub::select_after_reload(local_side(), name);
    return result;
}

int left_popup_menu_delete(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    const __single* const side = local_side();
    std::vector<std::string> names = relay_hub::selected_names(side->tree_view);
    if (names.empty())
        return -1;
    const int position = relay_hub::first_selected_position(side->tree_view);
    const int result = relay_hub::delete_from_local_folder(std::move(names), relay_hub::folder_of(side));
    relay_hub::reload_local();
    relay_hub::select_after_reload(side, position);
    return result;
}

int left_popup_menu_rename(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    std::puts("left_popup_menu_rename");
    const __single* const side = local_side();
    const std::string old_name = relay_hub::name_to_rename(side->tree_view);
    if (old_name.empty())
        return -1;
    std::vector<std::string> names = relay_hub::selected_names(side->tree_view);
    const std::string folder = relay_hub::folder_of(side);
    const std::string new_name = relay_hub::ask_new_name(side, old_name, folder);
    const bool renamed = !new_name.empty() && rename_entry(folder, old_name, new_name);
    const int result = relay_hub::reload_local();
    if (renamed)
        std::replace(names.begin(), names.end(), old_name, new_name);
    relay_hub::select_after_reload(side, names, renamed ? new_name : old_name);
    return result;
}

int left_popup_menu_refresh(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    const relay_hub::BusyDialog busy;
    return relay_hub::reload_local();
}

int left_popup_menu_copy(GtkWidget*, gpointer tree_view) {
    if (relay_hub::window_is_closing())
        return -1;
    std::puts("left_popup_menu_copy");
    auto* const list = static_cast<GtkWidget*>(tree_view);
    const std::vector<std::string> names = relay_hub::selected_names(list);
    if (names.empty())
        return -1;
    release_clipboard(nullptr);
    release_copy_to_remote_file_list();
    const std::string folder = relay_hub::folder_of(local_side());
    if (save_to_clipboard(nullptr) != 0)
        relay_hub::report(RELAY_HUB_HERE, "the desktop clipboard cannot be taken");
    clipboard_action = kCopyOffered;
    g_copy_source = kCopiedLocally;
    g_p_tree_view = list;
    for (const std::string& name : names) {
        g_pClipboardFileList.push_back(relay_hub::join_local_path(folder, name));
        std::printf("set data is [%s]\n", g_pClipboardFileList.back().c_str());
    }
    std::reverse(g_pClipboardFileList.begin(), g_pClipboardFileList.end());
    std::printf("create new memory addr. %p\n", static_cast<void*>(&g_pClipboardFileList));
    return 0;
}

int left_popup_menu_paste(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    const WindowWork work;
    switch (g_copy_source) {
        case kCopiedLocally:
            relay_hub::nothing_copied();
            release_clipboard(nullptr);
            return -1;
        case kCopiedRemotely:
            return relay_hub::paste_remote_copy();
        default:
            paste_offered_files();
            return 0;
    }
}
