#include "ui/list_keyboard.h"

#include <gdk/gdkkeysyms.h>

#include <cstdio>

#include "side_function/actions.h"
#include "side_function/copy_source.h"
#include "tree_view_op/file_list_view.h"
#include "ui/key_table.h"
#include "ui/menus.h"
#include "ui/navigation.h"
#include "window/closing.h"
#include "window/ui_sets.h"

namespace {

// False leaves the key to the toolkit.
using KeyAction = bool (*)(GtkWidget* tree_view);

template <void (*Item)(GtkWidget*, gpointer), _popup_menu_switch Needed>
bool menu_item(GtkWidget* tree_view) {
    if ((relay_hub::offered_items(tree_view) & Needed) != 0)
        Item(nullptr, tree_view);
    return true;
}

// What was cut may come to another folder of its own pane, which the menu does not offer.
bool paste(GtkWidget* tree_view) {
    if (tree_view == g_p_tree_view && relay_hub::is_cut())
        on_popup_menu_paste(nullptr, tree_view);
    else
        menu_item<on_popup_menu_paste, kMenuPaste>(tree_view);
    return true;
}

template <relay_hub::Action What>
bool act(GtkWidget* tree_view) {
    const __single* side = relay_hub::side_of(tree_view);
    if (side == nullptr || relay_hub::window_is_busy())
        return true;
    const bool remote = relay_hub::is_remote(side);
    const bool link_is_up = gtk_widget_get_mapped(get_UI_sets()->right_side->tree_view) != FALSE;
    if (link_is_up || What != relay_hub::Action::copy_across)
        relay_hub::run_action(remote ? relay_hub::Pane::remote() : relay_hub::Pane::local(), What);
    return true;
}

bool select_everything(GtkWidget* tree_view) {
    GtkTreeSelection* selection = gtk_tree_view_get_selection(GTK_TREE_VIEW(tree_view));
    gtk_tree_selection_select_all(selection);
    GtkTreeIter first;
    GtkTreeModel* model = gtk_tree_view_get_model(GTK_TREE_VIEW(tree_view));
    if (gtk_tree_model_get_iter_first(model, &first) != FALSE && relay_hub::row_name(model, &first) == "..")
        gtk_tree_selection_unselect_iter(selection, &first);
    return true;
}

bool open_parent(GtkWidget* tree_view) {
    __single* side = relay_hub::side_of(tree_view);
    if (side == nullptr || relay_hub::window_is_busy())
        return true;
    const relay_hub::WindowWork work;
    relay_hub::open_parent_folder(side);
    return true;
}

bool enter_other_pane(GtkWidget* tree_view) {
    const __single* side = relay_hub::side_of(tree_view);
    GtkWidget* other = side != nullptr ? relay_hub::other_side(side)->tree_view : nullptr;
    if (other == nullptr || gtk_widget_get_mapped(other) == FALSE)
        return false;
    gtk_widget_grab_focus(other);
    return true;
}

struct Key {
    guint value;
    guint modifiers;
    KeyAction action;
};

constexpr guint kControl = GDK_CONTROL_MASK;
constexpr guint kControlShift = GDK_CONTROL_MASK | GDK_SHIFT_MASK;

constexpr Key kKeys[] = {
    {GDK_KEY_c, kControl, menu_item<on_popup_menu_copy, kMenuCopy>},
    {GDK_KEY_x, kControl, act<relay_hub::Action::cut>},
    {GDK_KEY_v, kControl, paste},
    {GDK_KEY_t, kControl, act<relay_hub::Action::copy_across>},
    {GDK_KEY_a, kControl, select_everything},
    {GDK_KEY_n, kControlShift, menu_item<on_popup_menu_mkdir, kMenuNewFolder>},
    {GDK_KEY_Delete, 0, menu_item<on_popup_menu_delete, kMenuDelete>},
    {GDK_KEY_KP_Delete, 0, menu_item<on_popup_menu_delete, kMenuDelete>},
    {GDK_KEY_F2, 0, menu_item<on_popup_menu_rename, kMenuRename>},
    {GDK_KEY_F5, 0, menu_item<on_popup_menu_refresh, kMenuRefresh>},
    {GDK_KEY_BackSpace, 0, open_parent},
    {GDK_KEY_Tab, 0, enter_other_pane},
    {GDK_KEY_KP_Tab, 0, enter_other_pane},
};

// A new listing takes the cursor away, and without one the toolkit ignores the arrow keys. Taking the focus
// anew puts it on the first row.
void ensure_cursor(GtkWidget* tree_view) {
    GtkTreePath* path = nullptr;
    gtk_tree_view_get_cursor(GTK_TREE_VIEW(tree_view), &path, nullptr);
    if (path == nullptr)
        gtk_widget_grab_focus(tree_view);
    else
        gtk_tree_path_free(path);
}

}  // namespace

gboolean on_treeview_1_key_press_event(GtkWidget* tree_view, GdkEventKey* event, gpointer) {
    std::puts(__func__);
    ensure_cursor(tree_view);
    const Key* key = relay_hub::find_key(kKeys, event);
    return key != nullptr && key->action(tree_view) ? TRUE : FALSE;
}

gboolean on_treeview_1_popup_menu(GtkWidget* tree_view, gpointer) {
    std::puts(__func__);
    new_popup_menu(tree_view, nullptr, relay_hub::offered_items(tree_view), nullptr);
    return TRUE;
}

gboolean on_treeview_1_focus(GtkWidget*, GtkDirectionType, gpointer) {
    std::puts(__func__);
    return FALSE;
}

void on_treeview_1_changed(GtkTreeSelection*, gpointer) {
    std::puts(__func__);
}
