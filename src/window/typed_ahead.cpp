#include "window/typed_ahead.h"

#include <gdk/gdkkeysyms.h>

#include <deque>

#include "tree_view_op/toolkit_owners.h"
#include "window/closing.h"
#include "window/ui_sets.h"

namespace relay_hub {
namespace {

constexpr gint64 kPatience = gint64{3} * G_USEC_PER_SEC;

struct KeptKey {
    GdkEventPtr event;
    gint64 pressed;
};

std::deque<KeptKey> kept_keys;

gboolean keep_key(GtkWidget*, GdkEvent* event, gpointer) {
    if (event->key.keyval == GDK_KEY_Escape)
        return FALSE;
    kept_keys.push_back({GdkEventPtr(gdk_event_copy(event)), g_get_monotonic_time()});
    return TRUE;
}

GdkWindow* innermost_window() {
    GtkWidget* grabbing = gtk_grab_get_current();
    GtkWidget* widget = grabbing != nullptr ? gtk_widget_get_toplevel(grabbing) : get_UI_sets()->main_window;
    return widget != nullptr ? gtk_widget_get_window(widget) : nullptr;
}

gboolean deliver_next(gpointer) {
    if (kept_keys.empty() || window_is_closing())
        return G_SOURCE_REMOVE;
    const KeptKey key = std::move(kept_keys.front());
    kept_keys.pop_front();
    // The key may open a dialog, whose own loop delivers the next one.
    if (!kept_keys.empty())
        gdk_threads_add_idle(deliver_next, nullptr);
    if (GdkWindow* window = innermost_window()) {
        g_object_unref(key.event->key.window);
        key.event->key.window = static_cast<GdkWindow*>(g_object_ref(window));
        gtk_main_do_event(key.event.get());
    }
    return G_SOURCE_REMOVE;
}

}  // namespace

void keep_typed_ahead(GtkWidget* dialog) {
    g_signal_connect(dialog, "key-press-event", G_CALLBACK(keep_key), nullptr);
}

void deliver_typed_ahead() {
    const gint64 now = g_get_monotonic_time();
    while (!kept_keys.empty() && now - kept_keys.front().pressed > kPatience)
        kept_keys.pop_front();
    if (!kept_keys.empty())
        gdk_threads_add_idle(deliver_next, nullptr);
}

}  // namespace relay_hub
