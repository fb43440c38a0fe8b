#pragma once
// Owners of what GLib hands out.
#include <glib-object.h>
#include <glib.h>

#include <memory>

namespace relay_hub {

struct GFree {
    void operator()(void* memory) const { g_free(memory); }
};
struct GErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};
struct GObjectUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
struct GStrvFree {
    void operator()(char** texts) const { g_strfreev(texts); }
};
struct GDirClose {
    void operator()(GDir* dir) const { g_dir_close(dir); }
};

using GText = std::unique_ptr<char, GFree>;
using GErrorPtr = std::unique_ptr<GError, GErrorFree>;
using GStrv = std::unique_ptr<char*, GStrvFree>;
using GDirPtr = std::unique_ptr<GDir, GDirClose>;
template <typename Object>
using GObjectPtr = std::unique_ptr<Object, GObjectUnref>;

}  // namespace relay_hub
