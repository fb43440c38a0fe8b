// The yardstick of the start: a bare window of two panes, each with a path, a drive box and an empty list,
// and nothing behind it.
#include <gtk/gtk.h>

#include <algorithm>
#include <iterator>

namespace {

constexpr int kColumns = 11;
constexpr int kShownColumns = 4;

GtkWidget* new_list() {
    GType types[kColumns];
    std::fill(std::begin(types), std::end(types), G_TYPE_STRING);
    GtkListStore* store = gtk_list_store_newv(kColumns, types);
    GtkWidget* list = gtk_tree_view_new_with_model(GTK_TREE_MODEL(store));
    g_object_unref(store);
    for (int column = 1; column <= kShownColumns; ++column)
        gtk_tree_view_insert_column_with_attributes(GTK_TREE_VIEW(list), -1, "Column",
                                                    gtk_cell_renderer_text_new(), "text", column, nullptr);
    GtkWidget* scroller = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_container_add(GTK_CONTAINER(scroller), list);
    return scroller;
}

GtkWidget* new_pane(const char* title) {
    GtkWidget* row = gtk_hbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(row), gtk_entry_new(), TRUE, TRUE, 5);
    gtk_box_pack_start(GTK_BOX(row), gtk_button_new_with_label("OK"), FALSE, FALSE, 0);
    GtkListStore* drives = gtk_list_store_new(1, G_TYPE_STRING);
    GtkWidget* box = gtk_vbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), row, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), gtk_combo_box_new_with_model(GTK_TREE_MODEL(drives)), FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), new_list(), TRUE, TRUE, 0);
    g_object_unref(drives);
    GtkWidget* frame = gtk_frame_new(title);
    gtk_container_add(GTK_CONTAINER(frame), box);
    return frame;
}

}  // namespace

int main(int argc, char** argv) {
    gtk_init(&argc, &argv);
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), "Two panes");
    gtk_widget_set_size_request(window, 700, 400);
    GtkWidget* paned = gtk_hpaned_new();
    gtk_paned_pack1(GTK_PANED(paned), new_pane("One"), TRUE, TRUE);
    gtk_paned_pack2(GTK_PANED(paned), new_pane("Other"), TRUE, TRUE);
    gtk_container_add(GTK_CONTAINER(window), paned);
    gtk_widget_show_all(window);
    gtk_main();
    return 0;
}
