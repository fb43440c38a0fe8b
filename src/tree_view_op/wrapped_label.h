#pragma once
// Labels for texts that may hold no space, such as names and paths. Window's thread.
#include <gtk/gtk.h>

namespace relay_hub {

// Lines break at any character, and show no hyphen that is not in the text.
void wrap_anywhere(GtkLabel* label);

}  // namespace relay_hub
