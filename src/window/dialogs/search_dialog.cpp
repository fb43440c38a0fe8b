#include "window/dialogs/search_dialog.h"

#include <gdk/gdkkeysyms.h>

#include <cstdio>
#include <deque>

#include "base/translated_text.h"
#include "link_engine/command_runner.h"
#include "tree_view_op/toolkit_owners.h"
#include "window/closing.h"
#include "window/dialogs/dialog_parts.h"
#include "window/ui_sets.h"

namespace {

constexpr guint kPulseInterval = 500;
constexpr char kTimer[] = "relay-hub-pulse-timer";

gboolean pulse(gpointer bar) {
    gtk_progress_bar_pulse(GTK_PROGRESS_BAR(bar));
    return G_SOURCE_CONTINUE;
}

void start_pulsing(GtkWidget* dialog, gpointer bar) {
    const guint timer = gdk_threads_add_timeout(kPulseInterval, pulse, bar);
    g_object_set_data(G_OBJECT(dialog), kTimer, GUINT_TO_POINTER(timer));
}

void on_show_search_dialog_destroy(GtkWidget* dialog, gpointer) {
    const guint timer = GPOINTER_TO_UINT(g_object_steal_data(G_OBJECT(dialog), kTimer));
    if (timer == 0)
        return;
    g_source_remove(timer);
    std::puts("on_show_search_dialog_destroy");
}

gboolean abandon_and_stay(GtkWidget*, GdkEvent*, gpointer) {
    relay_hub::abandon_current_request();
    return TRUE;
}

constexpr gint64 kPatience = gint64{3} * G_USEC_PER_SEC;

struct KeptKey {
    relay_hub::GdkEventPtr event;
    gint64 pressed;
};

// The busy dialogs that are open, and the keys pressed meanwhile: they reach the window when it is ready
// again.
struct {
    int depth = 0;
    std::deque<KeptKey> keys;
} busy;

// Escape stays the dialog's own.
gboolean keep_key(GtkWidget*, GdkEvent* event, gpointer) {
    if (event->key.keyval == GDK_KEY_Escape)
        return FALSE;
    busy.keys.push_back({relay_hub::GdkEventPtr(gdk_event_copy(event)), g_get_monotonic_time()});
    return TRUE;
}

GdkWindow* innermost_window() {
    GtkWidget* grabbing = gtk_grab_get_current();
    GtkWidget* widget = grabbing != nullptr ? gtk_widget_get_toplevel(grabbing) : get_UI_sets()->main_window;
    return widget != nullptr ? gtk_widget_get_window(widget) : nullptr;
}

gboolean deliver_next(gpointer) {
    if (busy.keys.empty() || relay_hub::window_is_closing())
        return G_SOURCE_REMOVE;
    const KeptKey key = std::move(busy.keys.front());
    busy.keys.pop_front();
    // The key may open a dialog, whose own loop delivers the next one.
    if (!busy.keys.empty())
        gdk_threads_add_idle(deliver_next, nullptr);
    if (GdkWindow* window = innermost_window()) {
        g_object_unref(key.event->key.window);
        key.event->key.window = static_cast<GdkWindow*>(g_object_ref(window));
        gtk_main_do_event(key.event.get());
    }
    return G_SOURCE_REMOVE;
}

// In order, by way of the main loop, to the innermost window then open. Keys older than three seconds are
// dropped: their user has given up on them.
void deliver_typed_ahead() {
    const gint64 now = g_get_monotonic_time();
    while (!busy.keys.empty() && now - busy.keys.front().pressed > kPatience)
        busy.keys.pop_front();
    if (!busy.keys.empty())
        gdk_threads_add_idle(deliver_next, nullptr);
}

}  // namespace

int show_search_dialog(GtkWidget* parent, GtkWidget** dialog_out, gpointer) {
    const char* text = relay_hub::translated("IDS_MSG_PROCESSING");
    GtkWidget* dialog = relay_hub::new_modal_dialog(parent, text);
    GtkWidget* bar = gtk_progress_bar_new();
    gtk_progress_bar_set_pulse_step(GTK_PROGRESS_BAR(bar), 0.1);
    relay_hub::set_accessible_name(bar, text);
    GtkBox* content = GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(dialog)));
    gtk_box_pack_start(content, gtk_label_new(text), FALSE, FALSE, 5);
    gtk_box_pack_start(content, bar, FALSE, FALSE, 5);
    g_signal_connect(dialog, "show", G_CALLBACK(start_pulsing), bar);
    g_signal_connect(dialog, "destroy", G_CALLBACK(on_show_search_dialog_destroy), nullptr);
    g_signal_connect(dialog, "delete-event", G_CALLBACK(abandon_and_stay), nullptr);
    g_signal_connect(dialog, "key-press-event", G_CALLBACK(keep_key), nullptr);
    gtk_widget_show_all(GTK_WIDGET(content));
    relay_hub::set_least_size(dialog, 400, 80);
    *dialog_out = dialog;
    gtk_widget_show(dialog);
    return 0;
}

void close_search_dialog(GtkWidget* dialog) {
    if (dialog != nullptr)
        gtk_widget_destroy(dialog);
}

namespace relay_hub {

BusyDialog::BusyDialog() {
    if (busy.depth++ > 0)
        return;
    show_search_dialog(nullptr, &dialog_, nullptr);
    // The main window takes the dialog with it when it goes first.
    g_object_ref(dialog_);
}

BusyDialog::~BusyDialog() {
    --busy.depth;
    if (dialog_ == nullptr)
        return;
    close_search_dialog(dialog_);
    g_object_unref(dialog_);
    deliver_typed_ahead();
}

}  // namespace relay_hub
