#include "window/dialogs/lost_keyboard.h"

#include <cstring>

#include "base/glib_owners.h"
#include "window/closing.h"
#include "window/ui_sets.h"

namespace relay_hub {
namespace {

constexpr guint kUntilSettled = 300;  // milliseconds

// The window manager names one that is no more. None at all is another matter: the user may have put all
// away.
bool dead_window_is_active() {
    guchar* data = nullptr;
    gint size = 0;
    if (gdk_property_get(gdk_get_default_root_window(), gdk_atom_intern_static_string("_NET_ACTIVE_WINDOW"),
                         GDK_NONE, 0, sizeof(gulong), FALSE, nullptr, nullptr, &size, &data) == FALSE)
        return false;
    const std::unique_ptr<guchar, FreedBy<g_free>> owner(data);
    gulong named = 0;
    if (size >= static_cast<gint>(sizeof named))
        std::memcpy(&named, data, sizeof named);
    const GObjectPtr<GdkWindow> window(
        named != 0 ? gdk_window_foreign_new(static_cast<GdkNativeWindow>(named)) : nullptr);
    return named != 0 && (window == nullptr || gdk_window_is_destroyed(window.get()));
}

bool is_lost() {
    return !window_is_closing() && dead_window_is_active();
}

gboolean ask_if_lost(gpointer) {
    if (!is_lost())
        return G_SOURCE_REMOVE;
    GtkWidget* grabbing = gtk_grab_get_current();
    GtkWidget* window = grabbing != nullptr ? gtk_widget_get_toplevel(grabbing) : get_UI_sets()->main_window;
    const bool is_menu_or_drag =
        !GTK_IS_WINDOW(window) || gtk_window_get_window_type(GTK_WINDOW(window)) != GTK_WINDOW_TOPLEVEL;
    if (!is_menu_or_drag && !gtk_window_is_active(GTK_WINDOW(window)))
        gtk_window_present(GTK_WINDOW(window));
    return G_SOURCE_REMOVE;
}

// One that is late is given time: it may be about to give the keyboard to another program.
gboolean look_again_if_lost(gpointer) {
    if (is_lost())
        gdk_threads_add_timeout(kUntilSettled, ask_if_lost, nullptr);
    return G_SOURCE_REMOVE;
}

void look_soon(GtkWidget*, gpointer) {
    gdk_threads_add_timeout(kUntilSettled, look_again_if_lost, nullptr);
}

}  // namespace

void ask_for_keyboard_lost_with(GtkWidget* dialog) {
    g_signal_connect(dialog, "unmap", G_CALLBACK(look_soon), nullptr);
}

}  // namespace relay_hub
