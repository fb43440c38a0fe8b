#pragma once
// Between the server's attributes and paths and those of the engine. Pure.
#include <string>
#include <string_view>

#include "engine/remote_file_system.h"
#include "engine/sftp/packet.h"

namespace relay_hub::engine::sftp {

Entry entry_of(std::string name, const Attributes& attributes);
// Mode and times as far as the entry knows them.
Attributes attributes_of(const Entry& entry);
// Whether a name from the server can be that of an item in a folder.
bool is_possible_name(std::string_view name);

// The server's path of an inner one, and back.
inline std::string server_path(std::string_view inner) {
    return "/" + std::string(inner);
}
std::string inner_of(std::string_view server_path);

}  // namespace relay_hub::engine::sftp
