#include "window/dialogs/message_dialog.h"

#include <string>

#include "base/shown_text.h"
#include "base/translated_text.h"
#include "window/closing.h"
#include "window/dialogs/dialog_parts.h"

namespace relay_hub {
namespace {

void run_error_box(GtkWidget* parent, GtkButtonsType buttons, const char* title, const std::string& primary,
                   const char* secondary) {
    constexpr auto kFlags = static_cast<GtkDialogFlags>(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT);
    GtkWindow* over = parent != nullptr ? GTK_WINDOW(parent) : nullptr;
    GtkWidget* dialog =
        gtk_message_dialog_new(over, kFlags, GTK_MESSAGE_ERROR, buttons, "%s", shown_text(primary).c_str());
    gtk_window_set_position(GTK_WINDOW(dialog), GTK_WIN_POS_CENTER_ON_PARENT);
    if (title != nullptr)
        gtk_window_set_title(GTK_WINDOW(dialog), title);
    if (secondary != nullptr)
        gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(dialog), "%s",
                                                 shown_text(secondary).c_str());
    run_dialog(GTK_DIALOG(dialog));
    gtk_widget_destroy(dialog);
}

std::string with_single_percents(std::string text) {
    for (std::size_t at = text.find("%%"); at != std::string::npos; at = text.find("%%", at + 1))
        text.erase(at, 1);
    return text;
}

}  // namespace

void show_error_box(GtkWidget* parent, GtkButtonsType buttons, const char* primary, const char* secondary) {
    run_error_box(parent, buttons, nullptr, primary, secondary);
}

}  // namespace relay_hub

void show_message_dialog(GtkWidget* parent, const char* primary, const char* secondary) {
    relay_hub::run_error_box(parent, GTK_BUTTONS_OK, "Relay Hub",
                             relay_hub::with_single_percents(primary != nullptr ? primary : ""), secondary);
}
