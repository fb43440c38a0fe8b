#include "side_function/name_dialogs.h"

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

std::string ask_new_name(const Pane& pane, const std::string& old_name) {
    _rename_dialog* const dialog = create_rename_dialog();
    set_rename_dialog_oldname(old_name.c_str(), "", pane.folder().c_str(), pane.is_remote() ? 1 : 0,
                              pane.list());
    init_rename_dialog(dialog);
    show_rename_dialog(dialog);
    std::string new_name;
    get_rename_dialog_new_name(new_name);
    destroy_rename_dialog(dialog);
    return new_name;
}

}  // namespace relay_hub
