#pragma once
// All names of a folder of the other computer, asked for in many pieces at once.
#include <functional>
#include <string>

#include "engine/sftp/session.h"

namespace relay_hub::engine::sftp {

// Calls take for each name as the server tells it, "." and ".." among them. A server that never comes to an
// end makes it fail with EOVERFLOW.
Error read_folder(Session& session, const std::string& path, const std::function<void(NamedEntry)>& take);

}  // namespace relay_hub::engine::sftp
