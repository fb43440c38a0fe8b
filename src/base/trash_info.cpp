#include "base/trash_info.h"

#include <ctime>

#include "base/glib_owners.h"
#include "base/local_time_text.h"

namespace relay_hub {

std::string trash_info(const std::string& path) {
    const GText escaped(g_uri_escape_string(path.c_str(), G_URI_RESERVED_CHARS_ALLOWED_IN_PATH, FALSE));
    return std::string("[Trash Info]\nPath=")
        .append(escaped.get())
        .append("\nDeletionDate=")
        .append(local_time_text(std::time(nullptr), "%Y-%m-%dT%H:%M:%S"))
        .append("\n");
}

std::string numbered_name(const std::string& name, int attempt) {
    return attempt == 1 ? name : name + "." + std::to_string(attempt);
}

}  // namespace relay_hub
