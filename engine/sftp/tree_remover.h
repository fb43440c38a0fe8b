#pragma once
// Removing a folder of the other computer with all it holds, many requests at a time.
#include <string>

#include "engine/sftp/session.h"

namespace relay_hub::engine::sftp {

// Never follows a link. failed names what could not be removed, as a path of the server.
Error remove_tree(Session& session, const std::string& path, std::string& failed);

}  // namespace relay_hub::engine::sftp
