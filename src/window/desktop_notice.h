#pragma once
// Tells a user who looks at other windows that something has happened here. Window's thread.
#include <gtk/gtk.h>

namespace relay_hub {

// Shows text, of the catalogue's own, in a desktop notification and marks the window as urgent until the user
// turns to it. A desktop without a notification service is no error, and nothing waits for one that hangs.
void call_attention(GtkWidget* window, const char* text);

}  // namespace relay_hub
