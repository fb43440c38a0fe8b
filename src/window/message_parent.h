#pragma once
// Over which window a message or question opens. Window's thread.
#include <gtk/gtk.h>

namespace relay_hub {

// The progress dialog while one is open, else the main window.
GtkWidget* message_parent();

}  // namespace relay_hub
