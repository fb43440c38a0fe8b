#include "side_function/local_actions.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "base/diagnostics.h"
#include "base/rename_without_replacing.h"
#include "base/shown_text.h"
#include "base/translated_text.h"
#include "side_function/clipboard.h"
#include "side_function/copy_source.h"
#include "side_function/local_job.h"
#include "side_function/transfer.h"
#include "tree_view_op/file_list_view.h"
#include "window/dialogs/message_dialog.h"
#include "window/dialogs/mkdir_dialog.h"
#include "window/dialogs/rename_dialog.h"

namespace relay_hub {
namespace {

constexpr mode_t kNewFolderMode = 0770;

void show_failure(const char* id, const std::string& name, int error_number) {
    show_error_box(message_parent(), GTK_BUTTONS_OK,
                   fill_translated(id, {shown_text(name), error_text(error_number)}));
}

// True when the entry bears the new name now.
bool renamed(const Pane& pane, const std::string& old_name, const std::string& new_name) {
    const std::string old_path = pane.path_of(old_name);
    const std::string new_path = pane.path_of(new_name);
    std::printf("rename [%s] to [%s]\n", old_path.c_str(), new_path.c_str());
    const int error =
        old_path == new_path ? 0 : rename_without_replacing(AT_FDCWD, old_path, AT_FDCWD, new_path);
    if (error != 0)
        show_failure("IDS_MSG_ERR_FAIL_TO_RENAME_FILE", old_name, error);
    return error == 0;
}

// Offers the selection to this program and to others.
Outcome offer_entries(const Pane& pane, int kind) {
    const std::vector<std::string> paths = pane.selected_paths();
    if (paths.empty())
        return Outcome::nothing(-1);
    release_clipboard(nullptr);
    release_copy_to_remote_file_list();
    if (save_to_clipboard(nullptr) != 0)
        report(RELAY_HUB_HERE, "the desktop clipboard cannot be taken");
    clipboard_action = kind;
    g_copy_source = kCopiedLocally;
    g_p_tree_view = pane.list();
    for (const std::string& path : paths)
        std::printf("set data is [%s]\n", path.c_str());
    g_pClipboardFileList = paths;
    std::printf("create new memory addr. %p\n", static_cast<void*>(&g_pClipboardFileList));
    return Outcome::nothing(0);
}

void paste_offered_files(const Pane& pane) {
    const Offer offer = read_offer();
    for (const std::string& path : offer.paths)
        std::printf("get data is [%s]\n", path.c_str());
    put_into_local_folder(offer, pane.folder());
}

}  // namespace

Outcome make_local_folder(const Pane& pane) {
    const std::string name = ask_folder_name();
    if (name.empty())
        return Outcome::nothing(0);
    const std::string path = pane.path_of(name);
    std::printf("create name [%s]\n", path.c_str());
    if (::mkdir(path.c_str(), kNewFolderMode) != 0)
        show_failure("IDS_MSG_ERR_FAIL_TO_CREATE_FOLDER", path, errno);
    return {.names = {name}, .cursor = name};
}

Outcome rename_local_entry(const Pane& pane) {
    const std::string old_name = name_to_rename(pane.list());
    if (old_name.empty())
        return Outcome::nothing(-1);
    Outcome outcome{.names = pane.selection(), .cursor = old_name};
    const std::string new_name = ask_new_name(old_name, pane.folder(), pane.is_remote(), pane.list());
    if (new_name.empty())
        return Outcome::nothing(0);
    if (renamed(pane, old_name, new_name)) {
        std::replace(outcome.names.begin(), outcome.names.end(), old_name, new_name);
        outcome.cursor = new_name;
    }
    return outcome;
}

Outcome trash_local_entries(const Pane& pane) {
    const std::vector<std::string> names = pane.selection();
    if (names.empty())
        return Outcome::nothing(-1);
    Outcome outcome{.position = pane.first_selected_position()};
    outcome.result = trash_from_local_folder(names, pane.folder());
    return outcome;
}

Outcome copy_local_entries(const Pane& pane) {
    return offer_entries(pane, kCopyOffered);
}

Outcome cut_local_entries(const Pane& pane) {
    return offer_entries(pane, kCutOffered);
}

Outcome paste_locally(const Pane& pane) {
    int result = 0;
    switch (g_copy_source) {
        case kCopiedLocally:
            // What was copied here is not copied here once more; what was cut may have another folder to go
            // to.
            result = clipboard_action == kCutOffered
                         ? put_into_local_folder({g_pClipboardFileList, true}, pane.folder())
                         : -1;
            break;
        case kCopiedRemotely:
            result = copy_to_local_folder(remote_copy, copy_source.copied);
            break;
        default:
            paste_offered_files(pane);
    }
    end_offer();
    return Outcome::nothing(result);
}

Outcome copy_local_entries_across(const Pane& pane) {
    const std::vector<std::string> paths = pane.selected_paths();
    if (paths.empty())
        return Outcome::nothing(-1);
    return Outcome::nothing(copy_to_remote_folder([&] { return Offer{paths}; }));
}

}  // namespace relay_hub
