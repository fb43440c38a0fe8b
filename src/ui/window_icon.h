#pragma once
// The window's icon from a file that anybody may have put under /tmp. Window's thread.
#include <gdk-pixbuf/gdk-pixbuf.h>

#include <vector>

#include "base/glib_owners.h"

inline constexpr char kWindowIconPath[] = "/tmp/relay_hub.ico";

namespace relay_hub {

// The picture in all the sizes that the file has. None, silently, for anything but a readable picture in a
// regular file of this user or of root.
std::vector<GObjectPtr<GdkPixbuf>> load_window_icons(const char* path);

}  // namespace relay_hub
