#include "side_function/Zev_right_side.h"

#include "link_engine/command_runner.h"
#include "link_engine/request_builders.h"
#include "side_function/actions.h"
#include "window/closing.h"
#include "window/message_parent.h"
#include "xml_op/answer_readers.h"

using relay_hub::Action;
using relay_hub::Pane;
using relay_hub::run_action;

namespace {

int load_with(command_start_t start, command_finish_t finish, int code) {
    __send_args args;
    args.command_code = code;
    args.parent_window = relay_hub::message_parent();
    return send_command_t(start, finish, &args);
}

}  // namespace

int right_treeview_load_file(GtkWidget*, const std::string& path) {
    return Pane::remote().load(path);
}

int right_combobox_load_partition(GtkWidget*, gpointer) {
    if (relay_hub::window_is_closing())
        return -1;
    const relay_hub::WindowWork work;
    const int special = load_with(set_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH,
                                  get_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH, kCodeSpecialPath);
    // One of the two is enough to work with.
    return special &
           load_with(set_NP_VAL_CMD_GET_DRIVER_LIST, get_NP_VAL_CMD_GET_DRIVER_LIST, kCodeDriverList);
}

int right_popup_menu_mkdir(GtkWidget*, gpointer) {
    return run_action(Pane::remote(), Action::make_folder);
}

int right_popup_menu_rename(GtkWidget*, gpointer) {
    return run_action(Pane::remote(), Action::rename);
}

int right_popup_menu_delete(GtkWidget*, gpointer) {
    return run_action(Pane::remote(), Action::remove);
}

int right_popup_menu_copy(GtkWidget*, gpointer) {
    return run_action(Pane::remote(), Action::copy);
}

int right_popup_menu_paste(GtkWidget*, gpointer) {
    return run_action(Pane::remote(), Action::paste);
}
