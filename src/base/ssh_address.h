#pragma once
// Which computer, as the user writes it: [user@]host[:port][/folder], with an IPv6 address in brackets or
// alone, or the same as an ssh:// or sftp:// URI. Pure.
#include <optional>
#include <string>

namespace relay_hub {

struct SshAddress {
    std::string user;    // empty: as ssh decides
    std::string host;    // an IPv6 address without brackets
    std::string port;    // empty: as ssh decides
    std::string folder;  // "/folder"; "~" or "~/folder" below the user's own; empty: none

    // "user@host", as far as known.
    [[nodiscard]] std::string shown() const;
    // "[user@]host[:port]" and "[user@]host[:port][/folder]", to be read again.
    [[nodiscard]] std::string computer() const;
    [[nodiscard]] std::string whole() const;
};

// Nothing for a text that is no such address.
std::optional<SshAddress> parse_ssh_address(const std::string& text);

}  // namespace relay_hub
