#pragma once
// What a person types, or another computer announces, as an address. Pure, any thread.
#include <optional>
#include <string>

#include "base/ssh_address.h"

namespace relay_hub::connect {

// A computer's address, with blanks around it or not. Nothing for what names none, and for what cannot be
// shown as it is: bytes that are no text, letters that cannot be seen in the names of user and host, a blank
// at the end of the folder.
std::optional<SshAddress> parse_typed(const std::string& text);

// A folder in the form that an address has: "C:\Users" is "/C:/Users", and what starts neither at the top nor
// at a drive is below the home folder: "Music" is "~/Music". Empty for blanks.
std::string folder_of_typed(const std::string& typed);

}  // namespace relay_hub::connect
