#include "window/dialogs/message_dialog.h"

#include <vector>

#include "base/shown_text.h"
#include "base/translated_text.h"
#include "window/closing.h"
#include "window/dialogs/dialog_parts.h"
#include "window/dialogs/file_read_write_dialog.h"
#include "window/ui_sets.h"

namespace relay_hub {
namespace {

constexpr int kMoreResponse = 1;

// The labels of a message dialog in the order of their making: the text, then what is said below it.
std::vector<GtkLabel*> labels_of(GtkWidget* dialog) {
    std::vector<GtkLabel*> labels;
    GList* const children = gtk_container_get_children(
        GTK_CONTAINER(gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(dialog))));
    for (const GList* link = children; link != nullptr; link = link->next)
        if (GTK_IS_LABEL(link->data))
            labels.push_back(GTK_LABEL(link->data));
    g_list_free(children);
    return labels;
}

// No text, no box. Made with texts of the same kind, so that the toolkit gives the labels their fonts; the
// real ones come once the room for them is known.
int run_error_box(GtkWidget* parent, GtkButtonsType buttons, const std::string& primary,
                  const std::string& secondary, const char* more_button = nullptr) {
    constexpr auto kFlags = static_cast<GtkDialogFlags>(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT);
    if (primary.empty() && secondary.empty())
        return GTK_RESPONSE_NONE;
    if (primary.empty())
        return run_error_box(parent, buttons, secondary, {}, more_button);
    GtkWindow* over = parent != nullptr ? GTK_WINDOW(parent) : nullptr;
    GtkWidget* dialog = gtk_message_dialog_new(over, kFlags, GTK_MESSAGE_ERROR, buttons, "%s", kProgramName);
    if (!secondary.empty())
        gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(dialog), "%s", kProgramName);
    gtk_window_set_position(GTK_WINDOW(dialog), GTK_WIN_POS_CENTER_ON_PARENT);
    gtk_window_set_title(GTK_WINDOW(dialog), kProgramName);
    const std::vector<GtkLabel*> labels = labels_of(dialog);
    set_fitting_text(labels.at(0), primary, parent, secondary.empty() ? 1 : 2);
    if (!secondary.empty())
        set_fitting_text(labels.at(1), secondary, parent, 2);
    if (more_button != nullptr) {
        gtk_dialog_add_button(GTK_DIALOG(dialog), more_button, kMoreResponse);
        gtk_dialog_add_button(GTK_DIALOG(dialog), GTK_STOCK_OK, GTK_RESPONSE_OK);
    }
    gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_OK);
    const int response = run_dialog(GTK_DIALOG(dialog));
    gtk_widget_destroy(dialog);
    return response;
}

std::string with_single_percents(std::string text) {
    for (std::size_t at = text.find("%%"); at != std::string::npos; at = text.find("%%", at + 1))
        text.erase(at, 1);
    return text;
}

}  // namespace

GtkWidget* message_parent() {
    GtkWidget* progress = get_file_read_write_dialog_info()->dialog;
    return progress != nullptr ? progress : get_UI_sets()->main_window;
}

void show_error_box(GtkWidget* parent, GtkButtonsType buttons, const std::string& primary,
                    const std::string& secondary) {
    run_error_box(parent, buttons, primary, secondary);
}

void tell_no_folder(const std::string& path, const std::string& reason) {
    const std::string advice = translated("IDS_ERROR_PATH");
    show_error_box(message_parent(), GTK_BUTTONS_OK, fill_translated("IDS_NO_DATA", {shown_text(path)}),
                   reason.empty() ? advice : reason + "\n" + advice);
}

bool ask_to_try_again(GtkWidget* parent, const std::string& text) {
    return run_error_box(parent, GTK_BUTTONS_NONE, text, {}, translated("IDS_TRY_AGAIN")) == kMoreResponse;
}

}  // namespace relay_hub

void show_message_dialog(GtkWidget* parent, const char* primary, const char* secondary) {
    relay_hub::run_error_box(parent, GTK_BUTTONS_OK,
                             relay_hub::with_single_percents(primary != nullptr ? primary : ""),
                             secondary != nullptr ? secondary : "");
}
