#pragma once
// Renaming on a computer that takes two spellings for one name: in capitals or not, composed or decomposed.
// Paths are the server's; both stand in one folder.
#include <string>

#include "engine/sftp/session.h"

namespace relay_hub::engine::sftp {

// Whether the entry found under to is from itself. False also when that is not certain.
bool is_respelling(Session& session, const std::string& from, const std::string& to);
// Gives the entry its other spelling. What goes wrong leaves it under from, or, where the link is lost just
// then, under to with an ending.
Error respell(Session& session, const std::string& from, const std::string& to);

}  // namespace relay_hub::engine::sftp
