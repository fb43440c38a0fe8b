#pragma once
// Owners of what the toolkit hands out.
#include <gtk/gtk.h>

#include <memory>

#include "base/freed_by.h"

namespace relay_hub {

using TreePathPtr = std::unique_ptr<GtkTreePath, FreedBy<gtk_tree_path_free>>;
using GdkEventPtr = std::unique_ptr<GdkEvent, FreedBy<gdk_event_free>>;

}  // namespace relay_hub
