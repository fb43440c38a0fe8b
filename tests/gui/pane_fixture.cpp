#include "gui/pane_fixture.h"

#include "link_engine/request_builders.h"
#include "link_engine/transfer_state.h"
#include "side_function/clipboard.h"
#include "tree_view_op/file_list_view.h"

namespace gui_test {
namespace {

void fill_side(__single& side, GtkWidget* tree_view) {
    side.tree_view = tree_view;
    side.status_label = gtk_label_new("");
    side.path_entry = gtk_entry_new();
    GtkListStore* store = gtk_list_store_new(3, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING);
    side.drive_combo = gtk_combo_box_new_with_model(GTK_TREE_MODEL(store));
    g_object_unref(store);
}

std::string joined(const Names& texts) {
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : " ") + text;
    return all;
}

}  // namespace

const std::string kSuccess = "<T1>NP_Exe_Result_Success</T1>";

std::string message(const std::string& fields) {
    return "<ZEVMSG>" + fields + "</ZEVMSG>";
}

std::string line(const std::string& name, const std::string& kind, const std::string& size) {
    return "<Line><TA>" + name + "</TA><TY>" + size + "</TY><TZ2>" + size +
           " B</TZ2><TO>100</TO><TR>200</TR><TU>300" + "</TU><TH>" + kind + "</TH></Line>";
}

Panes::Panes() {
    UI* ui = get_UI_sets();
    ui->main_window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    fill_side(sub[0], local_.view());
    fill_side(sub[1], remote_.view());
    relay_hub::hold_widgets();
    relay_hub::end_offer();
    CleanUpInformationVar();
}

Panes::~Panes() {
    gtk_widget_destroy(get_UI_sets()->main_window);
    relay_hub::release_widgets();
    relay_hub::end_offer();
}

std::string Panes::names(const PaneList& list) {
    return joined(list.texts(kColumnName));
}

std::string Panes::selected(const PaneList& list) {
    return joined(get_selected_to_glist(list.view()));
}

}  // namespace gui_test
