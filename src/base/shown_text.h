#pragma once
// Bytes as a toolkit that takes only UTF-8 can show them. Any thread.
#include <glib.h>

#include <string>

#include "base/glib_owners.h"

namespace relay_hub {

// bytes as they are when they are UTF-8, else g_filename_display_name of them.
inline std::string shown_text(const std::string& bytes) {
    if (g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr))
        return bytes;
    return GText(g_filename_display_name(bytes.c_str())).get();
}

}  // namespace relay_hub
