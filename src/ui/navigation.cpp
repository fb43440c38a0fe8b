#include "ui/navigation.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "base/freed_by.h"
#include "base/log.h"
#include "base/path_text.h"
#include "base/shown_text.h"
#include "base/translated_text.h"
#include "base/wait.h"
#include "link_engine/command_runner.h"
#include "side_function/Zev_right_side.h"
#include "side_function/left_side.h"
#include "side_function/link_probes.h"
#include "side_function/pane.h"
#include "tree_view_op/file_list_view.h"
#include "tree_view_op/icon_sort.h"
#include "ui/window_state.h"
#include "util/Zev_file_op.h"
#include "util/path_kind.h"
#include "util/path_stack.h"
#include "window/closing.h"
#include "window/dialogs/message_dialog.h"
#include "window/dialogs/search_dialog.h"
#include "window/drive_box.h"
#include "window/window_thread.h"

namespace relay_hub {
namespace {

constexpr int kDriveAttempts = 21;
constexpr std::chrono::seconds kBetweenAttempts(1);

GtkWidget* main_window() {
    return get_UI_sets()->main_window;
}

void tell_no_access() {
    show_message_dialog(main_window(), translated("IDS_ERROR_DISPLAY"),
                        translated("IDS_ERROR_NO_PERMISSION"));
}

// The absolute path of a folder that may be listed; empty, after telling the user, for anything else.
std::string listable_folder(const std::string& path) {
    if (g_file_test(path.c_str(), G_FILE_TEST_IS_DIR) == FALSE) {
        tell_no_folder(path);
        return {};
    }
    if (Gfile_check_path_permission(path) == 0) {
        tell_no_access();
        return {};
    }
    const std::unique_ptr<char, FreedBy<std::free>> resolved(::realpath(path.c_str(), nullptr));
    if (resolved == nullptr) {
        std::perror("convert path:");
        return {};
    }
    return resolved.get();
}

// A typed path stays in the entry as it was typed.
enum class Entry { shows_folder, stays };

bool open_local_folder(__single* side, const std::string& path, Entry entry) {
    const std::string folder = listable_folder(path);
    if (folder.empty())
        return false;
    set_current_folder(side, folder.c_str());
    if (entry == Entry::shows_folder)
        set_path_entry(side, folder.c_str());
    once_search_and_insert_to_treeview(folder, side->tree_view);
    return true;
}

// The folder above; while that is gone too, the one above it.
std::string nearest_parent(const std::string& folder) {
    std::string parent = join_local_path(folder, "..");
    for (std::string path = folder; g_file_test(parent.c_str(), G_FILE_TEST_IS_DIR) == FALSE;) {
        parent = path = parent_path(path);
    }
    return parent;
}

bool is_drive_path(const std::string& path) {
    return check_path_for_platform(path.c_str()) == 1;
}

std::string normalised_remote_path(const std::string& path, bool with_drives) {
    const char* separator = with_drives ? "\\" : "/";
    std::string result = with_drives ? "" : "/";
    ConvertToRealPath(path.c_str(), separator, result, separator);
    return result;
}

// 0 or negative; Pane::kUnlisted, without a box, for a folder that the engine does not list.
int load_remote_folder(const std::string& path, bool tell_unlisted) {
    std::printf("real path: %s\n", path.c_str());
    const BusyDialog busy;
    const int result =
        tell_unlisted ? right_treeview_load_file(main_window(), path) : Pane::try_to_load_remote(path);
    std::printf("ret= %d\n", result);
    return window_is_closing() ? -1 : result;
}

bool open_remote_folder(__single* side, const std::string& path, Entry entry) {
    if (load_remote_folder(path, true) != 0)
        return false;
    if (entry == Entry::shows_folder)
        set_path_entry(side, path.c_str());
    return true;
}

// Opens the folder above; while that is gone too, the one above it.
bool open_remote_parent(__single* side, const std::string& folder) {
    const bool with_drives = is_drive_path(folder);
    const BusyDialog busy;
    std::string path = folder;
    // There is nothing above a root: a failure to list it is reported.
    for (bool at_root = false; !at_root;) {
        const std::size_t length = path.size();
        path = normalised_remote_path(join_remote_path(path, ".."), with_drives);
        at_root = check_root_path(path.c_str()) == 0 || path.size() >= length;
        const int result = load_remote_folder(path, at_root);
        if (result == 0)
            set_path_entry(side, path.c_str());
        if (result != Pane::kUnlisted)
            return result == 0;
    }
    return false;
}

// Where the user came from, so that climbing up leaves the folder below selected.
std::string last_component(const std::string& folder) {
    const std::size_t end = folder.find_last_not_of("/\\");
    if (end == std::string::npos)
        return {};
    const char* separator = is_drive_path(folder) ? "\\" : "/";
    const std::size_t before = folder.find_last_of(separator, end);
    const std::size_t begin = before == std::string::npos ? 0 : before + 1;
    return folder.substr(begin, end + 1 - begin);
}

// The path that stands in the entry. A folder whose name cannot be shown as it is stands there in its shown
// form.
std::string entered_path(const __single* side) {
    const char* entered = gtk_entry_get_text(GTK_ENTRY(side->path_entry));
    return shown_text(current_folder(side)) == entered ? current_folder(side) : entered;
}

int drive_count(GtkWidget* combo) {
    return gtk_tree_model_iter_n_children(gtk_combo_box_get_model(GTK_COMBO_BOX(combo)), nullptr);
}

[[noreturn]] void end_without_drives() {
    log_event("%s\t%s\texit.", "It can't find any disk.", "Please restart.");
    end_process();
}

// A command_start_t: runs on the runner's worker until there are drives or the user has had enough.
int find_remote_drives(void* data) {
    auto* args = static_cast<__send_args*>(data);
    const StopToken* token = current_stop_token();
    for (int attempt = 1;; ++attempt) {
        right_combobox_load_partition_nothread();
        int drives = 0;
        call_on_window([&drives] { drives = drive_count(get_UI_sets()->right_side->drive_combo); });
        if (drives > 0 || (token != nullptr && token->stopped()))
            break;
        if (attempt == kDriveAttempts)
            end_without_drives();
        if (!interruptible_sleep(kBetweenAttempts))
            break;
    }
    return set_atomic(&args->state, kStateFinished);
}

}  // namespace

bool is_remote(const __single* side) {
    return side == get_UI_sets()->right_side;
}

__single* side_of(gconstpointer widget) {
    const UI* ui = get_UI_sets();
    for (__single* side : {ui->left_side, ui->right_side}) {
        if (widget != nullptr && (widget == side->tree_view || widget == side->go_button ||
                                  widget == side->path_entry || widget == side->drive_combo))
            return side;
    }
    return nullptr;
}

__single* other_side(const __single* side) {
    const UI* ui = get_UI_sets();
    return side == ui->left_side ? ui->right_side : ui->left_side;
}

std::string typed_remote_path(const std::string& typed, const std::string& folder) {
    const bool with_drives = is_drive_path(folder) || (folder.empty() && is_drive_path(typed));
    const bool absolute = with_drives ? is_drive_path(typed) : typed.starts_with('/');
    return normalised_remote_path(absolute ? typed : join_remote_path(folder, typed), with_drives);
}

std::string typed_local_path(const std::string& typed, const std::string& folder) {
    if (typed.starts_with("file://"))
        return local_path_of_uri(typed).value_or(typed);
    if (typed == "~" || typed.starts_with("~/"))
        return g_get_home_dir() + typed.substr(1);
    return typed.empty() || typed.starts_with('/') ? typed : join_local_path(folder, typed);
}

void open_sub_folder(__single* side, const std::string& name) {
    const std::string from = current_folder(side);
    const bool up = name == "..";
    if (is_remote(side) && !Pane::remote().may_act_on({name}))
        return;
    bool opened = false;
    if (is_remote(side) && up)
        opened = open_remote_parent(side, from);
    else if (is_remote(side))
        opened = open_remote_folder(side,
                                    normalised_remote_path(join_remote_path(from, name), is_drive_path(from)),
                                    Entry::shows_folder);
    else
        opened = open_local_folder(side, up ? nearest_parent(from) : join_local_path(from, name),
                                   Entry::shows_folder);
    if (opened && up)
        select_row_by_name(side->tree_view, last_component(from));
}

void open_parent_folder(__single* side) {
    // A remote list that could not be read again has lost its parent row too.
    GtkTreeModel* model = gtk_tree_view_get_model(GTK_TREE_VIEW(side->tree_view));
    const bool is_below_root = is_remote(side) && check_root_path(current_folder(side)) != 0;
    if (is_below_root || find_parent_row(model))
        open_sub_folder(side, "..");
}

void toggle_hidden_files() {
    const __single* side = get_UI_sets()->left_side;
    show_hidden_files(side->tree_view, !hidden_files_are_shown(side->tree_view));
    left_treeview_load_file(main_window(), current_folder(side));
}

void open_typed_path(__single* side) {
    const std::string entered = entered_path(side);
    if (!is_remote(side)) {
        open_local_folder(side, typed_local_path(entered, current_folder(side)), Entry::stays);
        return;
    }
    std::puts("remote");
    if (!entered.empty())
        open_remote_folder(side, typed_remote_path(entered, current_folder(side)), Entry::stays);
}

void open_chosen_drive(__single* side) {
    const std::string path = get_combobox_item(side->drive_combo);
    if (path.empty())
        return;
    std::puts(path.c_str());
    const BusyDialog busy;
    if (is_remote(side)) {
        clean_tree_view(side->tree_view);
        right_treeview_load_file(main_window(), path);
    } else {
        left_treeview_load_file(main_window(), path);
    }
    if (window_is_closing())
        return;
    set_current_folder(side, path.c_str());
    set_path_entry(side, path.c_str());
}

void open_first_drive(__single* side) {
    // Its handler finds this work under way, and leaves the opening to it.
    gtk_combo_box_set_active(GTK_COMBO_BOX(side->drive_combo), 0);
    open_chosen_drive(side);
}

void load_remote_drives() {
    const __single* side = get_UI_sets()->right_side;
    const BusyDialog busy;
    clean_combo_box(side->drive_combo);
    __send_args args;
    args.parent_window = main_window();
    send_command_t(find_remote_drives, nullptr, &args);
    if (window_is_closing() || drive_count(side->drive_combo) == 0)
        return;
    open_first_drive(get_UI_sets()->right_side);
    sort_by_name(get_UI_sets()->right_side);
}

void reload_remote_folder() {
    const __single* side = get_UI_sets()->right_side;
    const std::string folder = current_folder(side);
    if (folder.empty() || drive_count(side->drive_combo) == 0) {
        load_remote_drives();
        return;
    }
    const BusyDialog busy;
    const std::vector<std::string> selected = selected_names(side->tree_view);
    clean_tree_view(side->tree_view);
    if (right_treeview_load_file(main_window(), folder) == 0 && selected.size() == 1)
        select_row_by_name(side->tree_view, selected.front());
}

void sort_by_name(const __single* side) {
    if (order_is_remembered(side))
        return;
    // A click on a list that is sorted so already would turn it round.
    if (sort_of(list_store_of(side->tree_view)) != SortState{0, GTK_SORT_ASCENDING})
        gtk_tree_view_column_clicked(gtk_tree_view_get_column(GTK_TREE_VIEW(side->tree_view), 0));
}

}  // namespace relay_hub
