#pragma once
// The keyboard after a dialog that was open for a moment. Window's thread.
#include <gtk/gtk.h>

namespace relay_hub {

// A window manager that is just giving the keyboard to a dialog which closes may leave it with no window at
// all, and keys would do nothing until a click (openbox on a busy machine: after 38 of 200 copies). Has the
// innermost window ask for it a moment after the dialog has closed, where the window manager names a window
// that is no more.
void ask_for_keyboard_lost_with(GtkWidget* dialog);

}  // namespace relay_hub
