#pragma once
// Error boxes titled "Relay Hub". Modal; they return once closed, or at once when there is nothing to say.
// Texts are shown as they are, never used as formats or markup, as far as two thirds of the screen hold them.
// Window's thread.
#include <gtk/gtk.h>

#include <cstddef>
#include <string>

// Error box with one OK button. In primary "%%" shows as "%". secondary may be null.
void show_message_dialog(GtkWidget* parent, const char* primary, const char* secondary);

namespace relay_hub {

// Over which window a message or question opens: the progress dialog while one is open, else the main window.
GtkWidget* message_parent();

// Error box with one button (GTK_BUTTONS_OK or GTK_BUTTONS_CLOSE), primary text and optional secondary.
void show_error_box(GtkWidget* parent, GtkButtonsType buttons, const std::string& primary,
                    const std::string& secondary = {});
void show_error_box(GtkWidget* parent, GtkButtonsType buttons, const std::string& primary,
                    std::nullptr_t) = delete;
// The same with the buttons "Try again" and OK. True for the first.
bool ask_to_try_again(GtkWidget* parent, const std::string& text);
// The box about a folder that is not there or cannot be listed, over message_parent(); reason: why, where
// known.
void tell_no_folder(const std::string& path, const std::string& reason = {});

}  // namespace relay_hub
