#pragma once
// The real main window, built and shown for each test, with the globals it touches set back afterwards. Tests
// begin with the local pane in a folder of their own and the remote pane offline, its poll at rest.

#include "gui/gui_fixture.h"
#include "side_function/clipboard.h"
#include "ui/link_status_monitor.h"
#include "ui/main_window.h"
#include "window/closing.h"

namespace gui_test {

// Another program's clipboard may outlive the test that filled it: only its owner can empty it.
inline void empty_clipboard() {
    GtkClipboard* clipboard = gtk_clipboard_get(GDK_SELECTION_CLIPBOARD);
    gtk_clipboard_set_text(clipboard, "", 0);
    gtk_clipboard_clear(clipboard);
}

class MainWindowTest : public testing::Test {
  protected:
    MainWindowTest() {
        empty_clipboard();
        relay_hub::end_offer();
        new_zev_window();
        visible_main_window();
        visible_local_widget();
        relay_hub::reset_link_monitor();
        open_local(sandbox_.at());
        run_until([] { return gtk_widget_get_mapped(local().tree_view) != FALSE; });
    }

    ~MainWindowTest() override {
        for (const __single& side : sub)
            if (const GList* menus = gtk_menu_get_for_attach_widget(side.tree_view))
                gtk_menu_shell_cancel(GTK_MENU_SHELL(menus->data));
        empty_clipboard();
        relay_hub::reset_link_monitor();
        gtk_widget_destroy(get_UI_sets()->main_window);
        relay_hub::release_widgets();
        run_pending();
    }

    void open_local(const std::string& folder) {
        gtk_entry_set_text(GTK_ENTRY(local().path_entry), folder.c_str());
        gtk_button_clicked(GTK_BUTTON(local().go_button));
        run_pending();
    }

    [[nodiscard]] static __single& local() { return *get_UI_sets()->left_side; }
    [[nodiscard]] static __single& remote() { return *get_UI_sets()->right_side; }

    relay_hub::Closing closing_;
    Sandbox sandbox_;
};

inline Names row_names(const __single& side) {
    return column_texts(gtk_tree_view_get_model(GTK_TREE_VIEW(side.tree_view)), kColumnName);
}

// Without "..".
inline std::vector<std::string> selected_names(const __single& side) {
    const std::vector<std::string> names = get_selected_to_glist(side.tree_view);
    return {names.rbegin(), names.rend()};
}

// A mouse button event of the list, in the middle of a row; row -1 is the empty space below the rows.
inline void mouse(const __single& side, GdkEventType type, guint button, int row, guint state = 0) {
    GtkTreeView* view = GTK_TREE_VIEW(side.tree_view);
    run_pending();
    GdkRectangle cell{0, 100000, 10, 10};
    if (row >= 0) {
        const relay_hub::TreePathPtr path(gtk_tree_path_new_from_indices(row, -1));
        gtk_tree_view_get_background_area(view, path.get(), gtk_tree_view_get_column(view, 0), &cell);
    }
    GdkEvent* event = gdk_event_new(type);
    event->button.window = GDK_WINDOW(g_object_ref(gtk_tree_view_get_bin_window(view)));
    event->button.button = button;
    event->button.state = state;
    event->button.x = cell.x + cell.width / 2.0;
    event->button.y = cell.y + cell.height / 2.0;
    event->button.time = GDK_CURRENT_TIME;
    const char* signal = type == GDK_BUTTON_RELEASE ? "button-release-event" : "button-press-event";
    gboolean handled = FALSE;
    g_signal_emit_by_name(view, signal, event, &handled);
    gdk_event_free(event);
}

}  // namespace gui_test
