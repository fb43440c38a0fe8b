#pragma once
// What the tests in a window share. main() in main.cpp has initialised GTK; every test runs on the window's
// thread with the GDK lock held, as a handler does.
#include <gtk/gtk.h>

#include "sandbox.h"
#include "tree_view_op/file_list_view.h"
#include "tree_view_op/toolkit_owners.h"
#include "when.h"
#include "window/ui_sets.h"

namespace gui_test {

using test::Names;
using test::Sandbox;

// Turns the main loop until done() or the limit; true when done.
inline bool run_until(const std::function<bool()>& done) {
    const auto deadline = test::Clock::now() + std::chrono::seconds(30);
    const guint ticks = g_timeout_add(
        5, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    bool is_done = done();
    while (!is_done && test::Clock::now() < deadline) {
        gtk_main_iteration();
        is_done = done();
    }
    g_source_remove(ticks);
    return is_done;
}

inline void run_pending() {
    while (gtk_events_pending())
        gtk_main_iteration();
}

// The first visible widget below root for which matches() holds, or null.
inline GtkWidget* find_widget(GtkWidget* root, const std::function<bool(GtkWidget*)>& matches) {
    if (!gtk_widget_get_visible(root) || matches(root))
        return gtk_widget_get_visible(root) ? root : nullptr;
    std::vector<GtkWidget*> children;
    const auto add = [](GtkWidget* child, gpointer all) {
        static_cast<std::vector<GtkWidget*>*>(all)->push_back(child);
    };
    if (GTK_IS_CONTAINER(root))
        gtk_container_forall(GTK_CONTAINER(root), add, &children);
    for (GtkWidget* child : children)
        if (GtkWidget* found = find_widget(child, matches))
            return found;
    return nullptr;
}

inline GtkWidget* find_button(GtkWidget* root, const std::string& label) {
    return find_widget(root, [&](GtkWidget* widget) {
        const char* its_label = GTK_IS_BUTTON(widget) ? gtk_button_get_label(GTK_BUTTON(widget)) : nullptr;
        return its_label != nullptr && label == its_label;
    });
}

inline GtkWidget* find_entry(GtkWidget* root) {
    return find_widget(root, [](GtkWidget* widget) { return GTK_IS_ENTRY(widget); });
}

// The texts of all visible labels below root, one a line.
inline std::string label_texts(GtkWidget* root) {
    std::string texts;
    find_widget(root, [&](GtkWidget* widget) {
        if (GTK_IS_LABEL(widget))
            texts += std::string(gtk_label_get_text(GTK_LABEL(widget))) + "\n";
        return false;
    });
    return texts;
}

// The visible toplevel with that title, else the one with that text in a label; null when there is none.
inline GtkWidget* find_window(const std::string& text) {
    GtkWidget* found = nullptr;
    GList* windows = gtk_window_list_toplevels();
    for (const bool by_title : {true, false}) {
        for (const GList* node = windows; node != nullptr && found == nullptr; node = node->next) {
            GtkWidget* window = GTK_WIDGET(node->data);
            const char* title = gtk_window_get_title(GTK_WINDOW(window));
            if (gtk_widget_get_visible(window) &&
                (by_title ? title != nullptr && text == title
                          : label_texts(window).find(text) != std::string::npos))
                found = window;
        }
    }
    g_list_free(windows);
    return found;
}

// A key press and release as the window would deliver it.
inline bool press_key(GtkWidget* widget, guint key, guint modifiers = 0) {
    GdkEvent* event = gdk_event_new(GDK_KEY_PRESS);
    event->key.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(widget)));
    event->key.keyval = key;
    event->key.state = modifiers;
    event->key.time = GDK_CURRENT_TIME;
    gboolean handled = FALSE;
    g_signal_emit_by_name(widget, "key-press-event", event, &handled);
    gdk_event_free(event);
    return handled != FALSE;
}

inline void close_as_the_window_manager(GtkWidget* window) {
    GdkEvent* event = gdk_event_new(GDK_DELETE);
    event->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(window)));
    gtk_main_do_event(event);
    gdk_event_free(event);
}

inline Names column_texts(GtkTreeModel* model, int column) {
    Names found;
    GtkTreeIter iter;
    for (gboolean more = gtk_tree_model_get_iter_first(model, &iter); more;
         more = gtk_tree_model_iter_next(model, &iter))
        found.push_back(relay_hub::row_text(model, &iter, column));
    return found;
}

inline void select_rows(GtkWidget* view, const std::vector<int>& rows) {
    GtkTreeSelection* selection = gtk_tree_view_get_selection(GTK_TREE_VIEW(view));
    gtk_tree_selection_unselect_all(selection);
    for (const int row : rows)
        gtk_tree_selection_select_path(selection,
                                       relay_hub::TreePathPtr(gtk_tree_path_new_from_indices(row, -1)).get());
}

// As a program that has files to give; the text must outlive the offer.
inline void offer(GtkClipboard* clipboard, std::string target, std::string& text) {
    const GtkTargetEntry entry{target.data(), 0, 0};
    const auto give = [](GtkClipboard*, GtkSelectionData* selection, guint, gpointer data) {
        const auto& given = *static_cast<const std::string*>(data);
        gtk_selection_data_set(selection, gtk_selection_data_get_target(selection), 8,
                               reinterpret_cast<const guchar*>(given.data()), static_cast<int>(given.size()));
    };
    gtk_clipboard_set_with_data(clipboard, &entry, 1, give, nullptr, &text);
}

// Under the GDK lock, as a handler of the window.
struct When : test::When {
    When(std::function<bool()> ready, std::function<void()> step)
        : test::When(std::move(ready), std::move(step), gdk_threads_add_timeout) {}
};
struct WhenAsked : When {
    WhenAsked(const std::string& text, int response)
        : When([text] { return find_window(text) != nullptr; },
               [text, response] { gtk_dialog_response(GTK_DIALOG(find_window(text)), response); }) {}
};

inline GtkListStore* new_text_store(int columns) {
    const std::vector<GType> types(static_cast<std::size_t>(columns), G_TYPE_STRING);
    return gtk_list_store_newv(columns, const_cast<GType*>(types.data()));
}

inline void fill_side(__single& side, GtkWidget* tree_view) {
    side.tree_view = tree_view;
    side.status_label = gtk_label_new("");
    side.path_entry = gtk_entry_new();
    GtkListStore* drives = new_text_store(3);
    side.drive_combo = gtk_combo_box_new_with_model(GTK_TREE_MODEL(drives));
    g_object_unref(drives);
}

// A list of the window's kind: a store of texts under the columns of a pane, in a window that is shown.
class PaneList {
  public:
    PaneList() {
        set_list_treeview(view_);
        gtk_tree_view_set_model(GTK_TREE_VIEW(view_), GTK_TREE_MODEL(store_));
        gtk_tree_selection_set_mode(gtk_tree_view_get_selection(GTK_TREE_VIEW(view_)),
                                    GTK_SELECTION_MULTIPLE);
        GtkWidget* scroller = gtk_scrolled_window_new(nullptr, nullptr);
        gtk_container_add(GTK_CONTAINER(scroller), view_);
        gtk_container_add(GTK_CONTAINER(window_), scroller);
        gtk_window_set_default_size(GTK_WINDOW(window_), 350, 300);
        gtk_widget_show_all(window_);
    }
    PaneList(const PaneList&) = delete;
    PaneList& operator=(const PaneList&) = delete;
    ~PaneList() {
        gtk_widget_destroy(window_);
        g_object_unref(store_);
    }
    [[nodiscard]] GtkWidget* view() const { return view_; }
    [[nodiscard]] GtkListStore* store() const { return store_; }
    [[nodiscard]] Names texts(int column) const { return column_texts(GTK_TREE_MODEL(store_), column); }
    [[nodiscard]] Names row(std::size_t at) const {
        Names row;
        for (int column = 0; column < kColumnCount; ++column)
            row.push_back(texts(column).at(at));
        return row;
    }
    void select(const std::vector<int>& rows) const { select_rows(view_, rows); }

  private:
    GtkWidget* const window_ = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWidget* const view_ = gtk_tree_view_new();
    GtkListStore* const store_ = new_text_store(kColumnCount);
};

}  // namespace gui_test
