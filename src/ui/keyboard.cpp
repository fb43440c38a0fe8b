#include "ui/keyboard.h"

#include <gdk/gdkkeysyms.h>

#include <array>
#include <cstdio>

#include "side_function/actions.h"
#include "side_function/copy_source.h"
#include "tree_view_op/file_list_view.h"
#include "ui/menus.h"
#include "ui/navigation.h"
#include "window/closing.h"
#include "window/ui_sets.h"

namespace {

// The key as it was pressed, in lower case, and then by its place on the keyboard's first layout: on a
// Russian one, Ctrl and the key of C still copy.
std::array<guint, 2> key_values(const GdkEventKey* event) {
    guint first_layout = 0;
    (void)gdk_keymap_translate_keyboard_state(gdk_keymap_get_default(), event->hardware_keycode,
                                              static_cast<GdkModifierType>(event->state), 0, &first_layout,
                                              nullptr, nullptr, nullptr);
    return {gdk_keyval_to_lower(event->keyval), gdk_keyval_to_lower(first_layout)};
}

// The row of a table of keys for the event, null for none. A row has a value and its modifiers.
template <typename Row, std::size_t Rows>
const Row* find_key(const Row (&table)[Rows], const GdkEventKey* event) {
    const guint modifiers = event->state & gtk_accelerator_get_default_mod_mask();
    for (const guint value : key_values(event))
        for (const Row& row : table)
            if (row.value == value && row.modifiers == modifiers)
                return &row;
    return nullptr;
}

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

struct ListKey {
    guint value;
    guint modifiers;
    KeyAction action;
};

constexpr guint kControl = GDK_CONTROL_MASK;
constexpr guint kControlShift = GDK_CONTROL_MASK | GDK_SHIFT_MASK;

constexpr ListKey kListKeys[] = {
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

void enter_path(__single* side) {
    gtk_widget_grab_focus(side->path_entry);
}

void toggle_hidden(__single*) {
    relay_hub::toggle_hidden_files();
}

void close_program(__single*) {
    relay_hub::close_window();
}

struct WindowKey {
    guint value;
    guint modifiers;
    bool starts_work;  // not while other work is under way
    void (*act)(__single* side);
};

constexpr WindowKey kWindowKeys[] = {
    {GDK_KEY_l, GDK_CONTROL_MASK, false, enter_path},
    {GDK_KEY_F6, 0, false, enter_path},
    {GDK_KEY_Up, GDK_MOD1_MASK, true, relay_hub::open_parent_folder},
    {GDK_KEY_KP_Up, GDK_MOD1_MASK, true, relay_hub::open_parent_folder},
    {GDK_KEY_Home, GDK_MOD1_MASK, true, relay_hub::open_first_drive},
    {GDK_KEY_KP_Home, GDK_MOD1_MASK, true, relay_hub::open_first_drive},
    {GDK_KEY_h, GDK_CONTROL_MASK, true, toggle_hidden},
    {GDK_KEY_q, GDK_CONTROL_MASK, false, close_program},
    {GDK_KEY_w, GDK_CONTROL_MASK, false, close_program},
};

// A side that is offline shows nothing to act on.
__single* side_with_keyboard(GtkWidget* window) {
    __single* side = relay_hub::side_of(gtk_window_get_focus(GTK_WINDOW(window)));
    return side != nullptr && gtk_widget_get_mapped(side->path_entry) != FALSE ? side
                                                                               : get_UI_sets()->left_side;
}

}  // namespace

gboolean on_treeview_1_key_press_event(GtkWidget* tree_view, GdkEventKey* event, gpointer) {
    std::puts(__func__);
    ensure_cursor(tree_view);
    const ListKey* key = find_key(kListKeys, event);
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

gboolean relay_hub::on_window_key_press(GtkWidget* window, GdkEventKey* event, gpointer) {
    const WindowKey* key = find_key(kWindowKeys, event);
    if (key == nullptr || (key->starts_work && window_is_busy()))
        return key != nullptr ? TRUE : FALSE;
    const WindowWork work;
    key->act(side_with_keyboard(window));
    return TRUE;
}
