#pragma once
// How a person names a computer and a folder there: "[user@]host[:port][/folder]". Pure, any thread.
#include <optional>
#include <string>
#include <string_view>

namespace relay_hub::connect {

struct ComputerAddress {
    std::string user;  // empty: ssh chooses
    std::string
        host;  // a name, an address (IPv6 without brackets, with a scope or not) or a Host of ~/.ssh/config
    int port = 0;        // 0: ssh chooses
    std::string folder;  // empty: the home folder there; else it starts with "/"
};

// Reads the whole form; an IPv6 address that is followed by a port stands in brackets, and "ssh://" or
// "sftp://" may come first. Nothing for a text that names no computer, or that ssh could take for an option.
std::optional<ComputerAddress> parse_address(std::string_view text);

// "[user@]host[:port]", as parse_address() reads it.
std::string computer_of(const ComputerAddress& address);

// "[user@]host[:port][/folder]", as parse_address() reads it.
std::string whole_address(const ComputerAddress& address);

// A folder as it was typed, in the form that an address has: "C:\Users" is "/C:/Users", and what starts
// neither at the top nor at a drive is below the home folder: "Music" and "~/Music" are "/~/Music".
std::string folder_of_typed(std::string_view typed);

}  // namespace relay_hub::connect
