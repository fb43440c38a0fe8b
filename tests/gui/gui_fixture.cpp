#include "gui/gui_fixture.h"

#include "tree_view_op/file_list_view.h"

namespace gui_test {
namespace {

struct Search {
    const std::function<bool(GtkWidget*)>& matches;
    GtkWidget* found = nullptr;
};

void search_below(GtkWidget* widget, gpointer data) {
    auto* search = static_cast<Search*>(data);
    if (search->found != nullptr || !gtk_widget_get_visible(widget))
        return;
    if (search->matches(widget))
        search->found = widget;
    else if (GTK_IS_CONTAINER(widget))
        gtk_container_forall(GTK_CONTAINER(widget), search_below, data);
}

gboolean keep_turning(gpointer) {
    return G_SOURCE_CONTINUE;
}

GtkWidget* find_toplevel(const std::function<bool(GtkWindow*)>& matches) {
    GtkWidget* found = nullptr;
    GList* windows = gtk_window_list_toplevels();
    for (const GList* node = windows; node != nullptr && found == nullptr; node = node->next)
        if (gtk_widget_get_visible(GTK_WIDGET(node->data)) && matches(GTK_WINDOW(node->data)))
            found = GTK_WIDGET(node->data);
    g_list_free(windows);
    return found;
}

std::string button_label(GtkWidget* button) {
    const char* label = gtk_button_get_label(GTK_BUTTON(button));
    return label != nullptr ? label : "";
}

}  // namespace

bool run_until(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    const guint ticks = g_timeout_add(5, keep_turning, nullptr);
    bool is_done = done();
    while (!is_done && std::chrono::steady_clock::now() < deadline) {
        gtk_main_iteration();
        is_done = done();
    }
    g_source_remove(ticks);
    return is_done;
}

void run_pending() {
    while (gtk_events_pending())
        gtk_main_iteration();
}

GtkWidget* find_window(const std::string& title) {
    return find_toplevel([&](GtkWindow* window) {
        const char* its_title = gtk_window_get_title(window);
        return its_title != nullptr && title == its_title;
    });
}

GtkWidget* find_window_with(const std::string& text) {
    return find_toplevel(
        [&](GtkWindow* window) { return label_texts(GTK_WIDGET(window)).find(text) != std::string::npos; });
}

void close_as_the_window_manager(GtkWidget* window) {
    GdkEvent* event = gdk_event_new(GDK_DELETE);
    event->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(window)));
    gtk_main_do_event(event);
    gdk_event_free(event);
}

GtkWidget* find_widget(GtkWidget* root, const std::function<bool(GtkWidget*)>& matches) {
    Search search{matches};
    search_below(root, &search);
    return search.found;
}

GtkWidget* find_button(GtkWidget* root, const std::string& label) {
    return find_widget(
        root, [&](GtkWidget* widget) { return GTK_IS_BUTTON(widget) && button_label(widget) == label; });
}

GtkWidget* find_entry(GtkWidget* root) {
    return find_widget(root, [](GtkWidget* widget) { return GTK_IS_ENTRY(widget); });
}

std::string label_texts(GtkWidget* root) {
    std::string texts;
    find_widget(root, [&](GtkWidget* widget) {
        if (GTK_IS_LABEL(widget))
            texts += std::string(gtk_label_get_text(GTK_LABEL(widget))) + "\n";
        return false;
    });
    return texts;
}

bool press_key(GtkWidget* widget, guint key, guint modifiers) {
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

When::When(std::function<bool()> ready, std::function<void()> step)
    : ready_(std::move(ready)), step_(std::move(step)), source_(gdk_threads_add_timeout(5, look, this)) {}

When::~When() {
    if (source_ != 0)
        g_source_remove(source_);
}

gboolean When::look(gpointer self) {
    auto* when = static_cast<When*>(self);
    if (!when->ready_())
        return G_SOURCE_CONTINUE;
    when->source_ = 0;
    when->step_();
    when->done_ = true;
    return G_SOURCE_REMOVE;
}

PaneList::PaneList() : window_(gtk_window_new(GTK_WINDOW_TOPLEVEL)), view_(gtk_tree_view_new()) {
    GType types[kColumnCount];
    for (GType& type : types)
        type = G_TYPE_STRING;
    store_ = gtk_list_store_newv(kColumnCount, types);
    set_list_treeview(view_);
    gtk_tree_view_set_model(GTK_TREE_VIEW(view_), GTK_TREE_MODEL(store_));
    gtk_tree_selection_set_mode(gtk_tree_view_get_selection(GTK_TREE_VIEW(view_)), GTK_SELECTION_MULTIPLE);
    GtkWidget* scroller = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_container_add(GTK_CONTAINER(scroller), view_);
    gtk_container_add(GTK_CONTAINER(window_), scroller);
    gtk_window_set_default_size(GTK_WINDOW(window_), 350, 300);
    gtk_widget_show_all(window_);
}

PaneList::~PaneList() {
    gtk_widget_destroy(window_);
    g_object_unref(store_);
}

Names column_texts(GtkTreeModel* model, int column) {
    Names found;
    GtkTreeIter iter;
    for (gboolean more = gtk_tree_model_get_iter_first(model, &iter); more;
         more = gtk_tree_model_iter_next(model, &iter))
        found.push_back(relay_hub::row_text(model, &iter, column));
    return found;
}

void select_rows(GtkWidget* view, const std::vector<int>& rows) {
    GtkTreeSelection* selection = gtk_tree_view_get_selection(GTK_TREE_VIEW(view));
    gtk_tree_selection_unselect_all(selection);
    for (const int row : rows) {
        GtkTreePath* path = gtk_tree_path_new_from_indices(row, -1);
        gtk_tree_selection_select_path(selection, path);
        gtk_tree_path_free(path);
    }
}

}  // namespace gui_test
