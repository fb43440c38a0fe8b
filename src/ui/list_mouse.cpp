#include "ui/list_mouse.h"

#include <cstdio>
#include <utility>

#include "tree_view_op/file_list_view.h"
#include "tree_view_op/toolkit_owners.h"
#include "ui/event_handlers.h"
#include "ui/menus.h"

namespace {

constexpr guint kLeftButton = 1;
constexpr guint kRightButton = 3;

using relay_hub::TreePathPtr;

// Null where there is no row, and on the header.
TreePathPtr row_at(GtkTreeView* tree_view, const GdkEventButton* event) {
    GtkTreePath* path = nullptr;
    if (event->window != gtk_tree_view_get_bin_window(tree_view))
        return nullptr;
    (void)gtk_tree_view_get_path_at_pos(tree_view, static_cast<int>(event->x), static_cast<int>(event->y),
                                        &path, nullptr, nullptr, nullptr);
    return TreePathPtr(path);
}

bool without_modifiers(const GdkEventButton* event) {
    return (event->state & gtk_accelerator_get_default_mod_mask()) == 0;
}

bool is_parent_row(GtkTreeView* tree_view, GtkTreePath* path) {
    GtkTreeModel* model = gtk_tree_view_get_model(tree_view);
    GtkTreeIter iter;
    return gtk_tree_model_get_iter(model, &iter, path) != FALSE && relay_hub::row_name(model, &iter) == "..";
}

bool keep_selection_for_drag(GtkTreeView* tree_view, const GdkEventButton* event) {
    GtkTreeSelection* selection = gtk_tree_view_get_selection(tree_view);
    const TreePathPtr path = row_at(tree_view, event);
    if (path == nullptr || gtk_tree_selection_count_selected_rows(selection) < 2 ||
        gtk_tree_selection_path_is_selected(selection, path.get()) == FALSE)
        return false;
    single_clicked = kSelectionPressed;
    gtk_widget_grab_focus(GTK_WIDGET(tree_view));
    return true;
}

// The toolkit leaves the selection as it was.
void unselect_beside_rows(GtkTreeView* tree_view, const GdkEventButton* event) {
    const bool left_or_right = event->button == kLeftButton || event->button == kRightButton;
    if (left_or_right && without_modifiers(event) &&
        event->window == gtk_tree_view_get_bin_window(tree_view) && row_at(tree_view, event) == nullptr)
        gtk_tree_selection_unselect_all(gtk_tree_view_get_selection(tree_view));
}

void note_press(GtkTreeView* tree_view, const GdkEventButton* event) {
    const TreePathPtr path = row_at(tree_view, event);
    // On the header it may widen a column.
    relay_hub::event_state.press_moves_nothing = event->window == gtk_tree_view_get_bin_window(tree_view) &&
                                                 (path == nullptr || is_parent_row(tree_view, path.get()));
}

// The list itself opens a row at the second press of a double click, before it gets the event of the
// double click, which is next in the queue by then. The row is to be opened once, by the release.
bool double_click_follows(const GdkEventButton* event) {
    const relay_hub::GdkEventPtr next(gdk_event_peek());
    return next != nullptr && (next->type == GDK_2BUTTON_PRESS || next->type == GDK_3BUTTON_PRESS) &&
           next->button.window == event->window && next->button.time == event->time;
}

bool open_menu(GtkTreeView* tree_view, GdkEventButton* event) {
    GtkTreeSelection* selection = gtk_tree_view_get_selection(tree_view);
    const TreePathPtr path = row_at(tree_view, event);
    const bool several = gtk_tree_selection_count_selected_rows(selection) > 1;
    if (path != nullptr && !several && is_parent_row(tree_view, path.get()))
        return false;
    if (path != nullptr && several)
        relay_hub::move_cursor_alone(tree_view, path.get());
    else if (path != nullptr)
        gtk_tree_view_set_cursor(tree_view, path.get(), nullptr, FALSE);
    gtk_widget_grab_focus(GTK_WIDGET(tree_view));
    new_popup_menu(GTK_WIDGET(tree_view), event, relay_hub::offered_items(GTK_WIDGET(tree_view)), nullptr);
    return true;
}

}  // namespace

gboolean on_treeview_1_button_press_event(GtkWidget* widget, GdkEventButton* event, gpointer) {
    std::puts(__func__);
    GtkTreeView* tree_view = GTK_TREE_VIEW(widget);
    if (event->type == GDK_2BUTTON_PRESS) {
        single_clicked = kDoubleClickPressed;
        // The release opens the row; the toolkit would open it a second time.
        return event->button == kLeftButton ? TRUE : FALSE;
    }
    if (event->type != GDK_BUTTON_PRESS)
        return FALSE;
    note_press(tree_view, event);
    unselect_beside_rows(tree_view, event);
    if (event->button == kLeftButton)
        return double_click_follows(event) ||
                       (without_modifiers(event) && keep_selection_for_drag(tree_view, event))
                   ? TRUE
                   : FALSE;
    return event->button == kRightButton && open_menu(tree_view, event) ? TRUE : FALSE;
}

gboolean on_treeview_1_button_release_event(GtkWidget* widget, GdkEventButton* event, gpointer) {
    std::puts(__func__);
    GtkTreeView* tree_view = GTK_TREE_VIEW(widget);
    const bool is_plain = event->button == kLeftButton && without_modifiers(event);
    const TreePathPtr path = is_plain ? row_at(tree_view, event) : nullptr;
    const int pressed = std::exchange(single_clicked, kClickIdle);
    if (path != nullptr && pressed == kDoubleClickPressed) {
        std::puts("emit!");
        gtk_tree_view_row_activated(tree_view, path.get(), gtk_tree_view_get_column(tree_view, 0));
    } else if (path != nullptr && pressed == kSelectionPressed) {
        gtk_tree_view_set_cursor(tree_view, path.get(), nullptr, FALSE);
    }
    return FALSE;
}

namespace relay_hub {

gboolean on_list_motion(GtkWidget*, GdkEventMotion* event, gpointer) {
    return event_state.press_moves_nothing && (event->state & GDK_BUTTON1_MASK) != 0 ? TRUE : FALSE;
}

}  // namespace relay_hub
