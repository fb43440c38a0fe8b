#include "connect/connect_dialog.h"

#include <memory>
#include <utility>

#include "base/freed_by.h"
#include "base/shown_text.h"
#include "base/translated_text.h"

namespace relay_hub::connect {
namespace {

enum Response { kServeFolder = 1, kConnect };
constexpr int kWidth = 620;
constexpr int kListHeight = 160;
constexpr int kWordsHeight = 80;
constexpr int kSpacing = 6;
constexpr int kBorder = 12;
constexpr int kMostSshLines = 500;

std::string text_of(GtkWidget* entry) {
    return gtk_entry_get_text(GTK_ENTRY(entry));
}

GtkWidget* new_left_label(const std::string& text) {
    GtkWidget* label = gtk_label_new(text.c_str());
    gtk_misc_set_alignment(GTK_MISC(label), 0, 0);
    // A long name breaks anywhere, and shows no hyphen that is not in it.
    const std::unique_ptr<PangoAttrList, FreedBy<pango_attr_list_unref>> attributes(pango_attr_list_new());
    pango_attr_list_insert(attributes.get(), pango_attr_insert_hyphens_new(FALSE));
    g_object_set(label, "wrap", TRUE, "wrap-mode", PANGO_WRAP_WORD_CHAR, "attributes", attributes.get(),
                 nullptr);
    gtk_widget_set_size_request(label, kWidth, -1);
    return label;
}

GtkWidget* new_mnemonic_label(const char* id, GtkWidget* target) {
    GtkWidget* label = gtk_label_new_with_mnemonic(translated(id));
    gtk_misc_set_alignment(GTK_MISC(label), 0, 0.5);
    gtk_label_set_mnemonic_widget(GTK_LABEL(label), target);
    atk_object_set_name(gtk_widget_get_accessible(target), gtk_label_get_text(GTK_LABEL(label)));
    return label;
}

}  // namespace

ConnectDialog::ConnectDialog(Actions actions)
    : actions_(std::move(actions)),
      dialog_(gtk_dialog_new()),
      content_(gtk_vbox_new(FALSE, kSpacing)),
      choices_(gtk_vbox_new(FALSE, kSpacing)) {
    gtk_window_set_title(GTK_WINDOW(dialog_), translated("IDS_CONNECT_TITLE"));
    gtk_container_set_border_width(GTK_CONTAINER(content_), kBorder);
    gtk_container_add(GTK_CONTAINER(gtk_dialog_get_content_area(GTK_DIALOG(dialog_))), content_);
    gtk_box_pack_start(GTK_BOX(content_), choices_, TRUE, TRUE, 0);
    build_computers();
    build_entries();
    build_messages();
    build_buttons();
    gtk_widget_show_all(content_);
    gtk_widget_hide(spinner_);
    gtk_widget_hide(ssh_box_);
    g_signal_connect(dialog_, "response", G_CALLBACK(on_response), this);
    g_signal_connect(dialog_, "delete-event", G_CALLBACK(gtk_true), nullptr);
}

ConnectDialog::~ConnectDialog() {
    g_signal_handlers_disconnect_by_data(dialog_, this);
    computers_.reset();
    gtk_widget_destroy(dialog_);
}

void ConnectDialog::build_computers() {
    computers_ = std::make_unique<ComputerList>([this](const SshAddress& address) { set_address(address); },
                                                [this] { connect_to_typed(); });
    GtkWidget* label = new_mnemonic_label("IDS_CONNECT_COMPUTERS", computers_->view());
    gtk_widget_set_size_request(computers_->widget(), kWidth, kListHeight);
    gtk_box_pack_start(GTK_BOX(choices_), label, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(choices_), computers_->widget(), TRUE, TRUE, 0);
}

void ConnectDialog::build_entries() {
    const struct {
        GtkWidget** entry;
        const char* label;
        const char* hint;
    } rows[] = {
        {&address_, "IDS_CONNECT_ADDRESS", "IDS_CONNECT_ADDRESS_HINT"},
        {&folder_, "IDS_CONNECT_FOLDER", "IDS_CONNECT_FOLDER_HINT"},
    };
    GtkWidget* table = gtk_table_new(std::size(rows), 2, FALSE);
    gtk_table_set_row_spacings(GTK_TABLE(table), kSpacing);
    gtk_table_set_col_spacings(GTK_TABLE(table), kBorder);
    guint line = 0;
    for (const auto& row : rows) {
        *row.entry = gtk_entry_new();
        gtk_entry_set_activates_default(GTK_ENTRY(*row.entry), TRUE);
        gtk_widget_set_tooltip_text(*row.entry, translated(row.hint));
        atk_object_set_description(gtk_widget_get_accessible(*row.entry), translated(row.hint));
        gtk_table_attach(GTK_TABLE(table), new_mnemonic_label(row.label, *row.entry), 0, 1, line, line + 1,
                         GTK_FILL, GTK_FILL, 0, 0);
        gtk_table_attach_defaults(GTK_TABLE(table), *row.entry, 1, 2, line, line + 1);
        ++line;
    }
    gtk_box_pack_start(GTK_BOX(choices_), table, FALSE, FALSE, 0);
}

void ConnectDialog::build_messages() {
    GtkWidget* line = gtk_hbox_new(FALSE, kSpacing);
    spinner_ = gtk_spinner_new();
    message_ = new_left_label(translated("IDS_CONNECT_ADDRESS_HINT"));
    gtk_label_set_selectable(GTK_LABEL(message_), TRUE);
    gtk_box_pack_start(GTK_BOX(line), spinner_, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(line), message_, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(content_), line, FALSE, FALSE, 0);

    ssh_words_ = gtk_text_view_new();
    gtk_text_view_set_editable(GTK_TEXT_VIEW(ssh_words_), FALSE);
    gtk_text_view_set_accepts_tab(GTK_TEXT_VIEW(ssh_words_), FALSE);
    gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(ssh_words_), GTK_WRAP_WORD);
    GtkWidget* scrolled = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled), GTK_POLICY_AUTOMATIC, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_shadow_type(GTK_SCROLLED_WINDOW(scrolled), GTK_SHADOW_IN);
    gtk_widget_set_size_request(scrolled, -1, kWordsHeight);
    gtk_container_add(GTK_CONTAINER(scrolled), ssh_words_);
    ssh_box_ = gtk_vbox_new(FALSE, kSpacing);
    gtk_box_pack_start(GTK_BOX(ssh_box_), new_mnemonic_label("IDS_CONNECT_SSH_SAYS", ssh_words_), FALSE,
                       FALSE, 0);
    gtk_box_pack_start(GTK_BOX(ssh_box_), scrolled, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(content_), ssh_box_, FALSE, FALSE, 0);
}

void ConnectDialog::build_buttons() {
    gtk_dialog_add_button(GTK_DIALOG(dialog_), translated("IDS_CONNECT_LOCAL_FOLDER"), kServeFolder);
    gtk_dialog_add_button(GTK_DIALOG(dialog_), GTK_STOCK_CANCEL, GTK_RESPONSE_CANCEL);
    gtk_dialog_add_button(GTK_DIALOG(dialog_), translated("IDS_CONNECT_CONNECT"), kConnect);
    GtkWidget* folder = gtk_dialog_get_widget_for_response(GTK_DIALOG(dialog_), kServeFolder);
    GtkWidget* area = gtk_dialog_get_action_area(GTK_DIALOG(dialog_));
    gtk_button_box_set_child_secondary(GTK_BUTTON_BOX(area), folder, TRUE);
    gtk_dialog_set_default_response(GTK_DIALOG(dialog_), kConnect);
}

void ConnectDialog::set_address(const SshAddress& address) {
    gtk_entry_set_text(GTK_ENTRY(address_), address.computer().c_str());
    gtk_entry_set_text(GTK_ENTRY(folder_), address.folder.c_str());
}

void ConnectDialog::show() {
    gtk_widget_grab_focus(address_);
    gtk_window_present(GTK_WINDOW(dialog_));
}

void ConnectDialog::hide() {
    gtk_widget_hide(dialog_);
    if (chooser_ != nullptr)
        gtk_dialog_response(GTK_DIALOG(chooser_), GTK_RESPONSE_CANCEL);
}

void ConnectDialog::on_response(GtkDialog*, gint response, gpointer self) {
    auto* dialog = static_cast<ConnectDialog*>(self);
    if (response == kConnect)
        dialog->connect_to_typed();
    else if (response == kServeFolder)
        dialog->ask_for_folder();
    else
        dialog->actions_.cancel();
}

void ConnectDialog::connect_to_typed() {
    auto address = parse_typed(text_of(address_));
    if (!address)
        return show_failure(translated("IDS_CONNECT_NO_ADDRESS"));
    // The folder may also stand behind the computer, as on the command line.
    if (const std::string folder = folder_of_typed(text_of(folder_)); !folder.empty())
        address->folder = folder;
    actions_.connect(*address);
}

void ConnectDialog::ask_for_folder() {
    chooser_ = gtk_file_chooser_dialog_new(translated("IDS_CONNECT_CHOOSE_FOLDER"), GTK_WINDOW(dialog_),
                                           GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, GTK_STOCK_CANCEL,
                                           GTK_RESPONSE_CANCEL, GTK_STOCK_OPEN, GTK_RESPONSE_ACCEPT, nullptr);
    gtk_dialog_set_default_response(GTK_DIALOG(chooser_), GTK_RESPONSE_ACCEPT);
    gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(chooser_), g_get_home_dir());
    const bool chosen = gtk_dialog_run(GTK_DIALOG(chooser_)) == GTK_RESPONSE_ACCEPT;
    const GText folder(gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(chooser_)));
    gtk_widget_destroy(std::exchange(chooser_, nullptr));
    if (chosen && folder)
        actions_.serve(folder.get());
}

void ConnectDialog::show_connecting(const std::string& computer) {
    gtk_text_buffer_set_text(gtk_text_view_get_buffer(GTK_TEXT_VIEW(ssh_words_)), "", 0);
    gtk_widget_hide(ssh_box_);
    say(fill_translated("IDS_CONNECT_CONNECTING", {shown_line(computer, kCellCharacters)}));
    set_busy(true);
}

void ConnectDialog::add_ssh_words(const std::string& line) {
    GtkTextBuffer* buffer = gtk_text_view_get_buffer(GTK_TEXT_VIEW(ssh_words_));
    GtkTextIter end;
    if (gtk_text_buffer_get_line_count(buffer) > kMostSshLines) {
        GtkTextIter start;
        gtk_text_buffer_get_start_iter(buffer, &start);
        gtk_text_buffer_get_iter_at_line(buffer, &end, 1);
        gtk_text_buffer_delete(buffer, &start, &end);
    }
    gtk_text_buffer_get_end_iter(buffer, &end);
    gtk_text_buffer_insert(buffer, &end, (shown_text(line) + "\n").c_str(), -1);
    gtk_text_buffer_place_cursor(buffer, &end);
    gtk_text_view_scroll_mark_onscreen(GTK_TEXT_VIEW(ssh_words_), gtk_text_buffer_get_insert(buffer));
    gtk_widget_show(ssh_box_);
}

void ConnectDialog::show_failure(const std::string& text) {
    set_busy(false);
    say(text);
    gtk_widget_grab_focus(address_);
}

void ConnectDialog::show_ready() {
    show_failure(translated("IDS_CONNECT_ADDRESS_HINT"));
}

void ConnectDialog::set_busy(bool busy) {
    GtkWidget* cancel = gtk_dialog_get_widget_for_response(GTK_DIALOG(dialog_), GTK_RESPONSE_CANCEL);
    if (busy)
        gtk_widget_grab_focus(cancel);
    gtk_widget_set_sensitive(choices_, busy ? FALSE : TRUE);
    for (const int response : {kServeFolder, kConnect})
        gtk_dialog_set_response_sensitive(GTK_DIALOG(dialog_), response, busy ? FALSE : TRUE);
    gtk_widget_set_visible(spinner_, busy ? TRUE : FALSE);
    g_object_set(spinner_, "active", busy ? TRUE : FALSE, nullptr);
}

// A screen reader speaks it with the entry, which gets the focus.
void ConnectDialog::say(const std::string& text) {
    gtk_label_set_text(GTK_LABEL(message_), text.c_str());
    atk_object_set_description(gtk_widget_get_accessible(address_), text.c_str());
}

}  // namespace relay_hub::connect
