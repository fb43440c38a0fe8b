#pragma once
// Keys that the user presses while the window is busy reach it when it is ready again. Window's thread.
#include <gtk/gtk.h>

namespace relay_hub {

// Keeps every key press but Escape that reaches the dialog, instead of letting the dialog have it.
void keep_typed_ahead(GtkWidget* dialog);

// Delivers what was kept, in order, by way of the main loop, to the innermost window then open. Keys older
// than three seconds are dropped: their user has given up on them.
void deliver_typed_ahead();

}  // namespace relay_hub
