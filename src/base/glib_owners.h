#pragma once
// Owners of what GLib hands out.
#include <glib-object.h>
#include <glib.h>

#include <memory>

#include "base/freed_by.h"

namespace relay_hub {

using GText = std::unique_ptr<char, FreedBy<g_free>>;
using GErrorPtr = std::unique_ptr<GError, FreedBy<g_error_free>>;
using GStrv = std::unique_ptr<char*, FreedBy<g_strfreev>>;
using GDirPtr = std::unique_ptr<GDir, FreedBy<g_dir_close>>;
template <typename Object>
using GObjectPtr = std::unique_ptr<Object, FreedBy<g_object_unref>>;

}  // namespace relay_hub
