#pragma once
// The window's icon from a file that anybody may have put under /tmp. Window's thread.
#include <gdk-pixbuf/gdk-pixbuf.h>

#include "base/glib_owners.h"

inline constexpr char kWindowIconPath[] = "/tmp/relay_hub.ico";

namespace relay_hub {

// Null, silently, for anything but a readable picture in a regular file of this user or of root.
GObjectPtr<GdkPixbuf> load_window_icon(const char* path);

}  // namespace relay_hub
