#include "side_function/Zev_right_side.h"

#include "link_engine/request_builders.h"
#include "side_function/actions.h"
#include "side_function/link_probes.h"
#include "xml_op/answer_readers.h"

using relay_hub::Action;
using relay_hub::Pane;
using relay_hub::run_action;

int right_treeview_load_file(GtkWidget*, const std::string& path) {
    return Pane::remote().load(path);
}

int right_combobox_load_partition(GtkWidget*, gpointer) {
    const int special = relay_hub::ask_engine(set_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH,
                                              get_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH, kCodeSpecialPath);
    // One of the two is enough to work with.
    return special & relay_hub::ask_engine(set_NP_VAL_CMD_GET_DRIVER_LIST, get_NP_VAL_CMD_GET_DRIVER_LIST,
                                           kCodeDriverList);
}

int right_popup_menu_mkdir(GtkWidget*, gpointer) {
    return run_action(Pane::remote(), Action::make_folder, __func__);
}

int right_popup_menu_rename(GtkWidget*, gpointer) {
    return run_action(Pane::remote(), Action::rename, __func__);
}

int right_popup_menu_delete(GtkWidget*, gpointer) {
    return run_action(Pane::remote(), Action::remove, __func__);
}

int right_popup_menu_copy(GtkWidget*, gpointer) {
    return run_action(Pane::remote(), Action::copy);
}

int right_popup_menu_paste(GtkWidget*, gpointer) {
    return run_action(Pane::remote(), Action::paste, __func__);
}
