#include "window/dialogs/dialog_parts.h"

#include <gdk/gdkkeysyms.h>

#include <algorithm>
#include <string>

#include "window/ui_sets.h"

namespace relay_hub {
namespace {

constexpr int kRowPadding = 5;

gboolean click_on_return(GtkWidget*, GdkEventKey* event, gpointer button) {
    if (event->keyval != GDK_KEY_Return && event->keyval != GDK_KEY_KP_Enter)
        return FALSE;
    gtk_button_clicked(GTK_BUTTON(button));
    return TRUE;
}

void respond_cancel(GtkButton*, gpointer dialog) {
    gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_CANCEL);
}

}  // namespace

GtkWidget* new_modal_dialog(GtkWidget* parent, const char* title) {
    GtkWidget* dialog = gtk_dialog_new();
    GtkWidget* over = parent != nullptr ? parent : get_UI_sets()->main_window;
    gtk_window_set_title(GTK_WINDOW(dialog), title);
    if (over != nullptr)
        gtk_window_set_transient_for(GTK_WINDOW(dialog), GTK_WINDOW(over));
    gtk_window_set_position(GTK_WINDOW(dialog), GTK_WIN_POS_CENTER_ON_PARENT);
    gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
    gtk_window_set_destroy_with_parent(GTK_WINDOW(dialog), TRUE);
    return dialog;
}

void set_least_size(GtkWidget* dialog, int width, int height) {
    GtkRequisition natural;
    gtk_widget_size_request(dialog, &natural);
    gtk_widget_set_size_request(dialog, std::max(width, natural.width), std::max(height, natural.height));
}

void set_accessible_name(GtkWidget* widget, const char* name) {
    atk_object_set_name(gtk_widget_get_accessible(widget), name);
}

NamePrompt new_name_prompt(const char* title, const char* label) {
    NamePrompt prompt;
    prompt.dialog = new_modal_dialog(nullptr, title);
    prompt.label = gtk_label_new((std::string(label) + " :").c_str());
    prompt.entry = gtk_entry_new();
    prompt.ok_button = gtk_button_new_from_stock(GTK_STOCK_OK);
    prompt.cancel_button = gtk_button_new_from_stock(GTK_STOCK_CANCEL);
    set_accessible_name(prompt.entry, label);

    GtkWidget* row = gtk_hbox_new(FALSE, kRowPadding);
    gtk_box_pack_start(GTK_BOX(row), prompt.label, FALSE, FALSE, kRowPadding);
    gtk_box_pack_start(GTK_BOX(row), prompt.entry, TRUE, TRUE, kRowPadding);
    gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(prompt.dialog))), row, TRUE, TRUE,
                       kRowPadding);
    GtkWidget* buttons = gtk_dialog_get_action_area(GTK_DIALOG(prompt.dialog));
    gtk_container_add(GTK_CONTAINER(buttons), prompt.ok_button);
    gtk_container_add(GTK_CONTAINER(buttons), prompt.cancel_button);
    gtk_widget_show_all(gtk_dialog_get_content_area(GTK_DIALOG(prompt.dialog)));
    set_least_size(prompt.dialog, 400, 115);

    g_signal_connect(prompt.entry, "key-press-event", G_CALLBACK(click_on_return), prompt.ok_button);
    g_signal_connect(prompt.cancel_button, "clicked", G_CALLBACK(respond_cancel), prompt.dialog);
    return prompt;
}

}  // namespace relay_hub
