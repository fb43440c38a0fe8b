#pragma once
// The trash of the user of the other computer: freedesktop.org's home trash, on macOS "~/.Trash". Only what
// can be moved there without a copy goes there.
#include <string>

#include "engine/sftp/session.h"

namespace relay_hub::engine::sftp {

// path is the server's. ENOTSUP with a text where there is no such trash, EXDEV with one for an item on
// another file system.
Error move_to_trash(Session& session, const std::string& path);

}  // namespace relay_hub::engine::sftp
