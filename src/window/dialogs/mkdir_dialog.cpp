#include "window/dialogs/mkdir_dialog.h"

#include <cstring>
#include <memory>
#include <string>

#include "base/shown_text.h"
#include "base/translated_text.h"
#include "window/dialogs/message_dialog.h"

using relay_hub::translated;

namespace {

constexpr std::string& g_folder_name = relay_hub::name_prompts.folder_name;

void refuse(const _mkdir_dialog& record, const std::string& reason) {
    relay_hub::show_error_box(record.dialog, GTK_BUTTONS_OK, reason);
    gtk_widget_grab_focus(record.entry);
}

void on_mkdir_ok(GtkButton*, gpointer data) {
    const auto* record = static_cast<const _mkdir_dialog*>(data);
    const char* text = gtk_entry_get_text(GTK_ENTRY(record->entry));
    if (*text == '\0')
        return refuse(*record, std::string(translated("IDS_ERROR_PATH")) + ".");
    if (std::strchr(text, '/') != nullptr)
        return refuse(*record, relay_hub::fill_translated(
                                   "IDS_MSG_ERR_FAIL_TO_RENAME_FILE",
                                   {relay_hub::shown_text(text), translated("IDS_ERROR_SLASHES")}));
    g_folder_name = text;
    gtk_dialog_response(GTK_DIALOG(record->dialog), GTK_RESPONSE_OK);
}

}  // namespace

_mkdir_dialog* create_mkdir_dialog() {
    g_folder_name.clear();
    return std::make_unique<_mkdir_dialog>().release();
}

void init_mkdir_dialog(_mkdir_dialog* record) {
    *record =
        relay_hub::new_name_prompt(translated("IDS_MN_ADDNEWFOLDER"), translated("IDS_NEW_FOLDER_NAME"));
    g_signal_connect(record->ok_button, "clicked", G_CALLBACK(on_mkdir_ok), record);
}

void show_mkdir_dialog(_mkdir_dialog* record) {
    if (!relay_hub::run_name_prompt(*record))
        g_folder_name.clear();
}

void destroy_mkdir_dialog(_mkdir_dialog* record) {
    relay_hub::destroy_name_prompt(record);
}

const char* get_folder_name() {
    return g_folder_name.c_str();
}

std::string relay_hub::ask_folder_name() {
    _mkdir_dialog* const dialog = create_mkdir_dialog();
    init_mkdir_dialog(dialog);
    show_mkdir_dialog(dialog);
    destroy_mkdir_dialog(dialog);
    return get_folder_name();
}
