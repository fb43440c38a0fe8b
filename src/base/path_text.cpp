#include "base/path_text.h"

#include <glib.h>

#include <string_view>

namespace relay_hub {
namespace {

bool is_drive_path(std::string_view path) {
    return path.size() >= 2 && path[1] == ':' && g_ascii_isalpha(path[0]);
}

std::string join_path(std::string_view folder, std::string_view name, char separator,
                      std::string_view separators) {
    const std::size_t last = folder.find_last_not_of(separators);
    const std::size_t first = name.find_first_not_of(separators);
    std::string joined(folder.substr(0, last == std::string_view::npos ? 0 : last + 1));
    joined += separator;
    if (first != std::string_view::npos)
        joined += name.substr(first);
    return joined;
}

}  // namespace

std::string join_remote_path(const std::string& folder, const std::string& name) {
    return is_drive_path(folder) ? join_path(folder, name, '\\', "\\/") : join_path(folder, name, '/', "/");
}

std::string join_local_path(const std::string& folder, const std::string& name) {
    return join_path(folder, name, '/', "/");
}

}  // namespace relay_hub
