#pragma once
// Texts of paths: joining a folder and a name, on this machine and on the remote computer; the path in a URI.
// Any thread.
#include <optional>
#include <string>

namespace relay_hub {

// folder and name with exactly one separator between them: a backslash for a drive-letter folder, else "/".
std::string join_remote_path(const std::string& folder, const std::string& name);
// folder and name with exactly one "/" between them.
std::string join_local_path(const std::string& folder, const std::string& name);
// The last component of a path, and what stands before it, as GLib has them.
std::string base_name(const std::string& path);
std::string parent_path(const std::string& path);
// The local path that a "file" URI stands for, without separators at its end. Nothing for any other text, nor
// for a file of another machine.
std::optional<std::string> local_path_of_uri(const std::string& uri);
// The "file" URI of a path. Empty for a path that has none; why then says it.
std::string file_uri(const std::string& path, std::string& why);

}  // namespace relay_hub
