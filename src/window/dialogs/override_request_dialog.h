#pragma once
// The overwrite question. The caller runs it and closes it. Window's thread.
#include <gtk/gtk.h>

#include "util/user_questions.h"

// Responses are REQUEST_YES, REQUEST_NO, REQUEST_ALL and REQUEST_CANCEL. 0, or -1 when it could not be built.
int show_override_request_dialog(GtkWidget* parent, GtkWidget** dialog_out, const char* message);
void close_override_request_dialog(GtkWidget* dialog);

namespace relay_hub {

// Builds, runs and closes the question; returns the response. With "Do the same for all that follow", "Yes"
// comes back as REQUEST_ALL and "No" as kRequestSkipAll. Window's thread.
int run_override_request(GtkWidget* parent, const char* message);

// The UserQuestions that hand over to the window's thread.
UserQuestions* window_questions();

}  // namespace relay_hub
