#include "window/dialogs/file_read_write_dialog.h"

#include <cstdio>
#include <utility>

#include "base/glib_owners.h"
#include "base/translated_text.h"
#include "link_engine/transfer_state.h"
#include "tree_view_op/wrapped_label.h"
#include "window/dialogs/dialog_parts.h"
#include "window/ui_sets.h"

namespace {

constexpr guint kUpdateInterval = 300;
constexpr int kRowPadding = 5;
constexpr int kLeastWidth = 500;
constexpr int kFiguresWidth = kLeastWidth - 4 * kRowPadding;
constexpr int kFiguresLines = 2;  // what they take in most languages, kept free so that no button moves
constexpr int kKindWithoutCancel = 5;

constexpr dialog_info& the_dialog = relay_hub::loops.info;
constexpr guint& update_source = relay_hub::loops.update_source;

// A loop that was stopped a moment ago would be revived by the next one's start.
void remove_last_loop() {
    if (update_source != 0 && g_main_context_find_source_by_id(nullptr, update_source) != nullptr)
        g_source_remove(update_source);
    update_source = 0;
}

void start_updates(GtkWidget*, gpointer) {
    remove_last_loop();
    update_source = new_timeout_loop(kUpdateInterval, g_pUpdateFun, &the_dialog);
}

void on_cancel_clicked(GtkButton* button, gpointer) {
    if (the_dialog.job.state != nullptr)
        cancel_atomic(the_dialog.job.state);
    SetUserClickCancel('Y');
    gtk_widget_set_sensitive(GTK_WIDGET(button), FALSE);
}

gboolean on_dialog_destroy(GtkWidget*, GdkEvent*, gpointer cancel_button) {
    std::puts("on_dialog_destroy");
    if (gtk_widget_is_sensitive(GTK_WIDGET(cancel_button)))
        gtk_button_clicked(GTK_BUTTON(cancel_button));
    stop_loop();
    return TRUE;
}

void forget_dialog(GtkWidget* dialog, gpointer) {
    if (the_dialog.dialog == dialog)
        the_dialog = {};
}

// In this language: a label that may be shortened asks for the room of an ellipsis only, which a script with
// a taller font does not fit.
int text_height(GtkWidget* label) {
    const relay_hub::GObjectPtr<PangoLayout> layout(
        gtk_widget_create_pango_layout(label, relay_hub::translated("IDS_MSG_PROCESSING")));
    int height = 0;
    pango_layout_get_pixel_size(layout.get(), nullptr, &height);
    return height;
}

GtkWidget* add_label(GtkBox* content, const char* text) {
    GtkWidget* row = gtk_hbox_new(FALSE, 0);
    GtkWidget* label = gtk_label_new(text);
    gtk_misc_set_alignment(GTK_MISC(label), 0, 0);
    gtk_box_pack_start(GTK_BOX(row), label, TRUE, TRUE, kRowPadding);
    gtk_box_pack_start(content, row, FALSE, FALSE, kRowPadding);
    return label;
}

GtkWidget* add_progress_bar(GtkBox* content) {
    GtkWidget* row = gtk_hbox_new(FALSE, 0);
    GtkWidget* bar = gtk_progress_bar_new();
    gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(bar), 0);
    relay_hub::set_accessible_name(bar, relay_hub::translated("IDS_FILE_OP"));
    gtk_box_pack_start(GTK_BOX(row), bar, TRUE, TRUE, 2);
    gtk_box_pack_start(content, row, FALSE, FALSE, kRowPadding);
    return bar;
}

GtkWidget* add_cancel_button(GtkBox* content) {
    GtkWidget* row = gtk_hbox_new(FALSE, 0);
    GtkWidget* button = gtk_button_new_from_stock(GTK_STOCK_CANCEL);
    gtk_box_pack_end(GTK_BOX(row), button, FALSE, FALSE, kRowPadding);
    gtk_box_pack_start(content, row, FALSE, FALSE, kRowPadding);
    return button;
}

dialog_info build_dialog(GtkWidget* parent, dialog_job job) {
    dialog_info built;
    built.dialog = relay_hub::new_modal_dialog(parent, relay_hub::translated("IDS_FILE_OP"));
    gtk_window_set_deletable(GTK_WINDOW(built.dialog), FALSE);
    gtk_window_set_resizable(GTK_WINDOW(built.dialog), FALSE);
    GtkBox* content = GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(built.dialog)));
    built.message_label = add_label(content, relay_hub::translated("IDS_MSG_PROCESSING"));
    gtk_label_set_ellipsize(GTK_LABEL(built.message_label), PANGO_ELLIPSIZE_MIDDLE);
    gtk_widget_set_size_request(built.message_label, -1, text_height(built.message_label));
    built.progress_bar = add_progress_bar(content);
    built.second_label = add_label(content, "");
    relay_hub::wrap_anywhere(GTK_LABEL(built.second_label));
    gtk_widget_set_size_request(built.second_label, kFiguresWidth,
                                kFiguresLines * text_height(built.second_label));
    built.cancel_button = add_cancel_button(content);
    built.job = job;
    return built;
}

}  // namespace

int show_file_read_write_dialog(GtkWidget* parent, GtkWidget** dialog_out, dialog_job job, int task_type) {
    the_dialog = build_dialog(parent, job);
    *dialog_out = the_dialog.dialog;
    g_signal_connect(the_dialog.dialog, "show", G_CALLBACK(start_updates), nullptr);
    g_signal_connect(the_dialog.dialog, "delete-event", G_CALLBACK(on_dialog_destroy),
                     the_dialog.cancel_button);
    g_signal_connect(the_dialog.dialog, "destroy", G_CALLBACK(forget_dialog), nullptr);
    g_signal_connect(the_dialog.cancel_button, "clicked", G_CALLBACK(on_cancel_clicked), nullptr);
    const bool can_cancel = task_type != TASK_DEL && task_type != kKindWithoutCancel;
    gtk_widget_set_no_show_all(gtk_widget_get_parent(the_dialog.cancel_button), !can_cancel);
    gtk_widget_show_all(gtk_dialog_get_content_area(GTK_DIALOG(the_dialog.dialog)));
    relay_hub::set_least_size(the_dialog.dialog, kLeastWidth, can_cancel ? 150 : 100);
    gtk_widget_show(the_dialog.dialog);
    return 0;
}

void close_file_read_write_dialog(GtkWidget* dialog) {
    stop_loop();
    the_dialog = {};
    if (dialog != nullptr)
        gtk_widget_destroy(dialog);
}

dialog_info* get_file_read_write_dialog_info() {
    return &the_dialog;
}

void set_update_fun(GSourceFunc function) {
    g_pUpdateFun = function;
}

void relese_update_fun() {
    g_pUpdateFun = nullptr;
}

namespace relay_hub {

ProgressDialog::ProgressDialog(volatile int* state, const int* task_kind, GSourceFunc updater) {
    set_update_fun(updater);
    std::puts("show dialog!");
    show_file_read_write_dialog(get_UI_sets()->main_window, &dialog_, dialog_job{state, task_kind},
                                *task_kind);
}

ProgressDialog::~ProgressDialog() {
    close();
}

void ProgressDialog::close() {
    if (dialog_ == nullptr)
        return;
    std::puts("close dialog!");
    // The last state is to be seen before it goes.
    gdk_window_process_all_updates();
    close_file_read_write_dialog(std::exchange(dialog_, nullptr));
    relese_update_fun();
}

}  // namespace relay_hub
