#include "gui/pane_fixture.h"

#include <cstdlib>

#include "link_engine/request_builders.h"
#include "link_engine/transfer_state.h"
#include "side_function/copy_source.h"
#include "tree_view_op/file_list_view.h"

namespace gui_test {
namespace {

// The toolkit asks for the home directory once; what the tests move into the trash must not reach the user's.
struct TestHome {
    TestHome() { ::setenv("HOME", folder.at().c_str(), 1); }
    const Sandbox folder;
};
const TestHome home;

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

NameGiven::NameGiven(const std::string& title, const std::string& name)
    : When([title] { return find_window(title) != nullptr; },
           [title, name] {
               GtkWidget* dialog = find_window(title);
               gtk_entry_set_text(GTK_ENTRY(find_entry(dialog)), name.c_str());
               gtk_button_clicked(GTK_BUTTON(find_button(dialog, GTK_STOCK_OK)));
           }) {}

BoxClosed::BoxClosed(const std::string& text)
    : When([text] { return find_window_with(text) != nullptr; },
           [text] { gtk_dialog_response(GTK_DIALOG(find_window_with(text)), GTK_RESPONSE_OK); }) {}

Drop::Drop(const std::string& text, GdkDragAction action)
    : context_(GDK_DRAG_CONTEXT(g_object_new(GDK_TYPE_DRAG_CONTEXT, nullptr))) {
    context_->suggested_action = action;
    selection_.target = gdk_atom_intern("text/uri-list", FALSE);
    gtk_selection_data_set(&selection_, selection_.target, 8, reinterpret_cast<const guchar*>(text.c_str()),
                           static_cast<int>(text.size()));
}

Drop::~Drop() {
    g_object_unref(context_);
    g_free(selection_.data);
}

Panes::Panes() {
    UI* ui = get_UI_sets();
    ui->main_window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    fill_side(sub[0], local_.view());
    fill_side(sub[1], remote_.view());
    relay_hub::hold_widgets();
    relay_hub::reset_copy_source();
    relay_hub::reset_file_list_retries();
    CleanUpInformationVar();
}

Panes::~Panes() {
    gtk_widget_destroy(get_UI_sets()->main_window);
    relay_hub::release_widgets();
    relay_hub::reset_copy_source();
}

std::string Panes::names(const PaneList& list) {
    return joined(list.texts(kColumnName));
}

std::string Panes::selected(const PaneList& list) {
    return joined(get_selected_to_glist(list.view()));
}

Names Panes::drives() {
    Names entries;
    GtkTreeModel* model = gtk_combo_box_get_model(GTK_COMBO_BOX(get_UI_sets()->right_side->drive_combo));
    GtkTreeIter iter;
    for (gboolean more = gtk_tree_model_get_iter_first(model, &iter); more;
         more = gtk_tree_model_iter_next(model, &iter)) {
        entries.emplace_back();
        for (int column = 0; column < 3; ++column)
            entries.back() += (column > 0 ? "|" : "") + relay_hub::row_text(model, &iter, column);
    }
    return entries;
}

}  // namespace gui_test
