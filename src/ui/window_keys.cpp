#include "ui/window_keys.h"

#include <gdk/gdkkeysyms.h>

#include "tree_view_op/file_list_view.h"
#include "ui/key_table.h"
#include "ui/navigation.h"
#include "window/closing.h"
#include "window/ui_sets.h"

namespace relay_hub {
namespace {

void enter_path(__single* side) {
    gtk_widget_grab_focus(side->path_entry);
}

void toggle_hidden(__single*) {
    toggle_hidden_files();
}

void close_program(__single*) {
    close_window();
}

struct WindowKey {
    guint value;
    guint modifiers;
    bool starts_work;  // not while other work is under way
    void (*act)(__single* side);
};

constexpr WindowKey kKeys[] = {
    {GDK_KEY_l, GDK_CONTROL_MASK, false, enter_path},
    {GDK_KEY_F6, 0, false, enter_path},
    {GDK_KEY_Up, GDK_MOD1_MASK, true, open_parent_folder},
    {GDK_KEY_KP_Up, GDK_MOD1_MASK, true, open_parent_folder},
    {GDK_KEY_Home, GDK_MOD1_MASK, true, open_first_drive},
    {GDK_KEY_KP_Home, GDK_MOD1_MASK, true, open_first_drive},
    {GDK_KEY_h, GDK_CONTROL_MASK, true, toggle_hidden},
    {GDK_KEY_q, GDK_CONTROL_MASK, false, close_program},
    {GDK_KEY_w, GDK_CONTROL_MASK, false, close_program},
};

// A side that is offline shows nothing to act on.
__single* side_with_keyboard(GtkWidget* window) {
    __single* side = side_of(gtk_window_get_focus(GTK_WINDOW(window)));
    return side != nullptr && gtk_widget_get_mapped(side->path_entry) != FALSE ? side
                                                                               : get_UI_sets()->left_side;
}

}  // namespace

gboolean on_window_key_press(GtkWidget* window, GdkEventKey* event, gpointer) {
    const WindowKey* key = find_key(kKeys, event);
    if (key == nullptr || (key->starts_work && window_is_busy()))
        return key != nullptr ? TRUE : FALSE;
    const WindowWork work;
    key->act(side_with_keyboard(window));
    return TRUE;
}

}  // namespace relay_hub
