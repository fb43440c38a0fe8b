#include "window/dialogs/search_dialog.h"

#include <cstdio>

#include "base/translated_text.h"
#include "link_engine/command_runner.h"
#include "window/dialogs/dialog_parts.h"
#include "window/typed_ahead.h"

namespace {

constexpr guint kPulseInterval = 500;
constexpr char kTimer[] = "relay-hub-pulse-timer";
int busy_depth = 0;

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
    relay_hub::keep_typed_ahead(dialog);
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
    if (busy_depth++ > 0)
        return;
    show_search_dialog(nullptr, &dialog_, nullptr);
    // The main window takes the dialog with it when it goes first.
    g_object_ref(dialog_);
}

BusyDialog::~BusyDialog() {
    --busy_depth;
    if (dialog_ == nullptr)
        return;
    close_search_dialog(dialog_);
    g_object_unref(dialog_);
    deliver_typed_ahead();
}

}  // namespace relay_hub
