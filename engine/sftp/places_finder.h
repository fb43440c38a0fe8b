#pragma once
// Where a person begins to look on the other computer.
#include <string>

#include "engine/remote_file_system.h"
#include "engine/sftp/session.h"

namespace relay_hub::engine::sftp {

// first_folder, where not empty, comes before the root or the drives. Only what is there is told.
Error find_places(Session& session, Style style, const std::string& first_folder, Places& places);

// The folder that a line of "user-dirs.dirs" gives for key ("XDG_DESKTOP_DIR"): absolute, empty for none.
std::string user_folder(const std::string& user_dirs, const std::string& key, const std::string& home);

}  // namespace relay_hub::engine::sftp
