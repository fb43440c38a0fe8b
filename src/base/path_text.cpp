#include "base/path_text.h"

#include <glib.h>

#include <algorithm>
#include <string_view>

#include "base/glib_owners.h"

namespace relay_hub {
namespace {

bool is_drive_path(std::string_view path) {
    return path.size() >= 2 && path[1] == ':' && g_ascii_isalpha(path[0]);
}

bool is_this_machine(const char* host) {
    return g_ascii_strcasecmp(host, "localhost") == 0 || g_ascii_strcasecmp(host, g_get_host_name()) == 0;
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

std::string base_name(const std::string& path) {
    return GText(g_path_get_basename(path.c_str())).get();
}

std::string parent_path(const std::string& path) {
    return GText(g_path_get_dirname(path.c_str())).get();
}

std::optional<std::string> local_path_of_uri(const std::string& uri) {
    char* host_text = nullptr;
    const GText path(g_filename_from_uri(uri.c_str(), &host_text, nullptr));
    const GText host(host_text);
    if (path == nullptr || (host != nullptr && !is_this_machine(host.get())))
        return std::nullopt;
    // With a separator at its end the path's last component would be empty.
    const std::string text = path.get();
    return text.substr(0, std::max<std::size_t>(text.find_last_not_of('/') + 1, 1));
}

std::string file_uri(const std::string& path, std::string& why) {
    GError* failure = nullptr;
    const GText uri(g_filename_to_uri(path.c_str(), nullptr, &failure));
    if (uri != nullptr)
        return uri.get();
    why = GErrorPtr(failure)->message;
    return {};
}

}  // namespace relay_hub
