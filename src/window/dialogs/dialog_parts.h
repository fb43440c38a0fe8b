#pragma once
// What several dialogs share. Window's thread.
#include <gtk/gtk.h>

#include <string>

namespace relay_hub {

// A modal dialog over parent (null: the main window) that dies with it.
GtkWidget* new_modal_dialog(GtkWidget* parent, const char* title);

// True for each key that is a Return, the keypad's too.
bool is_return(guint key);

// Gives the dialog, whose content is shown already, a size: the given one, or more where the content needs
// it.
void set_least_size(GtkWidget* dialog, int width, int height);

// Gives a box's label a foreign text: as shown_message has it, wrapped at any character, and cut where it
// would make the box over parent more than two thirds of the screen wide or tall. labels: how many share the
// box.
void set_fitting_text(GtkLabel* label, const std::string& text, GtkWidget* parent, int labels = 1);

// The name by which assistive tools announce a widget that has no label of its own.
void set_accessible_name(GtkWidget* widget, const char* name);

// A dialog that asks for one name: "label :", an entry in which Enter clicks OK, and the buttons OK and
// Cancel. Cancel responds GTK_RESPONSE_CANCEL; what OK does is the caller's.
struct NamePrompt {
    GtkWidget* dialog = nullptr;
    GtkWidget* ok_button = nullptr;
    GtkWidget* cancel_button = nullptr;
    GtkWidget* entry = nullptr;
    GtkWidget* label = nullptr;
};
NamePrompt new_name_prompt(const char* title, const char* label);
// Modal; closes the dialog. True when it ended with OK.
bool run_name_prompt(NamePrompt& prompt);
// Closes and frees a prompt; null does nothing.
void destroy_name_prompt(NamePrompt* prompt);

// What the prompts know and what they were given, kept between the steps that a caller takes.
struct NamePromptState {
    std::string folder_name;  // of the new folder
    std::string old_name;     // of what is being renamed, as the next ones are
    std::string new_name;
    std::string base_path;
    int side = 0;                    // not 0 for the remote pane
    GtkWidget* tree_view = nullptr;  // the pane's list
};
extern NamePromptState name_prompts;

}  // namespace relay_hub
