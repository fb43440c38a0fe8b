#include "side_function/name_dialogs.h"

#include "side_function/panes.h"
#include "window/dialogs/mkdir_dialog.h"
#include "window/dialogs/rename_dialog.h"

namespace relay_hub {

std::string ask_folder_name() {
    _mkdir_dialog* const dialog = create_mkdir_dialog();
    init_mkdir_dialog(dialog);
    show_mkdir_dialog(dialog);
    destroy_mkdir_dialog(dialog);
    return get_folder_name();
}

std::string ask_new_name(const __single* side, const std::string& old_name, const std::string& folder) {
    _rename_dialog* const dialog = create_rename_dialog();
    const int is_remote = side == remote_side() ? 1 : 0;
    set_rename_dialog_oldname(old_name.c_str(), "", folder.c_str(), is_remote, side->tree_view);
    init_rename_dialog(dialog);
    show_rename_dialog(dialog);
    std::string new_name;
    get_rename_dialog_new_name(new_name);
    destroy_rename_dialog(dialog);
    return new_name;
}

}  // namespace relay_hub
