#pragma once
// Owners of what the toolkit hands out.
#include <gtk/gtk.h>

#include <memory>

#include "base/freed_by.h"

namespace relay_hub {

using TreePathPtr = std::unique_ptr<GtkTreePath, FreedBy<gtk_tree_path_free>>;
using GdkEventPtr = std::unique_ptr<GdkEvent, FreedBy<gdk_event_free>>;

// Gives value to the object, which frees it when it goes or gets another under that key. Returns it.
template <typename Value>
Value* attach(gpointer object, const char* key, std::unique_ptr<Value> value) {
    Value* const attached = value.release();
    g_object_set_data_full(G_OBJECT(object), key, attached, [](gpointer data) {
        const std::unique_ptr<Value> owner(static_cast<Value*>(data));
    });
    return attached;
}

}  // namespace relay_hub
