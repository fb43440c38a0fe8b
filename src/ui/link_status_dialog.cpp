#include "ui/link_status_dialog.h"

#include "window/ui_sets.h"

namespace {

constexpr gint kWidth = 250;
constexpr gint kHeight = 110;
constexpr guint kRowPadding = 5;
constexpr int kExitWaiting = 2;

void on_show(GtkWidget*, gpointer) {
    g_waiting_status.connected = 0;
    g_waiting_status.stop_request = 0;
    relay_hub::start_waiting();
}

void on_exit_clicked(GtkButton* button, gpointer) {
    g_waiting_status.stop_request = kExitWaiting;
    gtk_widget_set_sensitive(GTK_WIDGET(button), FALSE);
    gtk_widget_destroy(g_waiting_status.dialog);
    g_waiting_status.dialog = nullptr;
    g_waiting_status.status_label = nullptr;
    g_waiting_status.button = nullptr;
}

gboolean on_delete(GtkWidget*, GdkEvent*, gpointer) {
    gtk_button_clicked(GTK_BUTTON(g_waiting_status.button));
    g_waiting_status.connected = 1;
    return TRUE;
}

GtkWidget* new_row(GtkWidget* dialog) {
    GtkWidget* row = gtk_hbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(dialog))), row, FALSE, TRUE,
                       kRowPadding);
    return row;
}

GtkWidget* add_label(GtkWidget* dialog, const char* text) {
    GtkWidget* label = gtk_label_new(text);
    gtk_box_pack_start(GTK_BOX(new_row(dialog)), label, FALSE, TRUE, kRowPadding);
    return label;
}

GtkWidget* new_dialog() {
    GtkWidget* dialog = gtk_dialog_new();
    GtkWindow* window = GTK_WINDOW(dialog);
    gtk_window_set_title(window, "Transfer Line Status");
    gtk_window_set_transient_for(window, GTK_WINDOW(get_UI_sets()->main_window));
    gtk_window_set_destroy_with_parent(window, TRUE);
    gtk_window_set_modal(window, TRUE);
    gtk_window_set_deletable(window, FALSE);
    gtk_window_set_resizable(window, FALSE);
    gtk_widget_set_size_request(dialog, kWidth, kHeight);
    return dialog;
}

}  // namespace

wait_status* monitor_link_engine_status_dialog() {
    init_wait_status();
    GtkWidget* dialog = new_dialog();
    GtkWidget* status_label = add_label(dialog, "Current status: Disconnected");
    add_label(dialog, "Try to connection ...");
    GtkWidget* button = gtk_button_new_with_label("exit for waiting");
    gtk_box_pack_end(GTK_BOX(new_row(dialog)), button, FALSE, TRUE, kRowPadding);
    g_signal_connect(dialog, "show", G_CALLBACK(on_show), nullptr);
    g_signal_connect(dialog, "delete_event", G_CALLBACK(on_delete), nullptr);
    g_signal_connect(button, "clicked", G_CALLBACK(on_exit_clicked), nullptr);
    gtk_widget_show_all(dialog);
    // Showing it started a poll, and with it a fresh record.
    g_waiting_status.dialog = dialog;
    g_waiting_status.status_label = status_label;
    g_waiting_status.button = button;
    return &g_waiting_status;
}
