#pragma once
// Where a person begins to look on the other computer.
#include <string>

#include "engine/remote_file_system.h"
#include "engine/sftp/session.h"

namespace relay_hub::engine::sftp {

// Only what exists is returned. first_folder, where not empty, is what the front end opens: it comes first,
// and desktop and documents are returned as drives behind it. So does the home folder where there is no
// desktop.
Error find_places(Session& session, Style style, const std::string& first_folder, Places& places);

// The folder that a line of "user-dirs.dirs" gives for key ("XDG_DESKTOP_DIR"): absolute, empty for none.
std::string user_folder(const std::string& user_dirs, const std::string& key, const std::string& home);

}  // namespace relay_hub::engine::sftp
