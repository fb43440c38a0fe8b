#include "base/ssh_address.h"

#include <arpa/inet.h>

#include <algorithm>
#include <string_view>

#include "base/glib_owners.h"

namespace relay_hub {
namespace {

constexpr unsigned kLargestPort = 65535;

// Nothing for a URI's part that is spelt wrongly or holds a zero byte.
std::optional<std::string> part_of(std::string_view text, bool is_uri) {
    if (!is_uri)
        return std::string(text);
    const GText decoded(g_uri_unescape_segment(text.data(), text.data() + text.size(), nullptr));
    return decoded ? std::optional<std::string>(decoded.get()) : std::nullopt;
}

// A bracket behind the "%" would end the address where it is written in brackets.
bool is_ipv6(std::string_view text) {
    in6_addr address{};
    const std::string plain(text.substr(0, text.find('%')));
    return inet_pton(AF_INET6, plain.c_str(), &address) == 1 && text.find(']') == std::string_view::npos;
}

bool is_port(const std::string& text) {
    return g_ascii_string_to_unsigned(text.c_str(), 10, 1, kLargestPort, nullptr, nullptr) != FALSE;
}

// ssh takes no word that begins with "-" for a name, and neither may a file name be taken for several words.
bool is_plain_word(std::string_view text) {
    return !text.empty() && text.front() != '-' && std::none_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) <= 0x20 || c == 0x7f || c == '/' || c == '\\';
    });
}

bool split_port(std::string_view remaining, SshAddress& address) {
    if (remaining.empty())
        return true;
    address.port = remaining.substr(1);
    return remaining.front() == ':' && is_port(address.port);
}

bool split_host(std::string_view text, SshAddress& address) {
    if (!text.empty() && text.front() == '[') {
        const std::size_t end = text.find(']');
        if (end == std::string_view::npos)
            return false;
        address.host = text.substr(1, end - 1);
        return is_ipv6(address.host) && split_port(text.substr(end + 1), address);
    }
    if (is_ipv6(text)) {
        address.host = text;
        return true;
    }
    const std::size_t colon = text.find(':');
    address.host = text.substr(0, colon);
    return is_plain_word(address.host) &&
           split_port(colon == std::string_view::npos ? std::string_view() : text.substr(colon), address);
}

}  // namespace

std::string SshAddress::shown() const {
    return user.empty() ? host : user + "@" + host;
}

std::string SshAddress::computer() const {
    const bool is_numeric = host.find(':') != std::string::npos;
    return (user.empty() ? "" : user + "@") + (is_numeric ? "[" + host + "]" : host) +
           (port.empty() ? "" : ":" + port);
}

std::string SshAddress::whole() const {
    return computer() + (folder.starts_with('~') ? "/" : "") + folder;
}

std::optional<SshAddress> parse_ssh_address(const std::string& text) {
    std::string_view remaining = text;
    bool is_uri = false;
    for (const std::string_view scheme : {"ssh://", "sftp://"}) {
        if (remaining.starts_with(scheme)) {
            remaining.remove_prefix(scheme.size());
            is_uri = true;
        }
    }
    SshAddress address;
    const std::size_t slash = remaining.find('/');
    if (slash != std::string_view::npos) {
        const auto folder = part_of(remaining.substr(slash), is_uri);
        if (!folder || folder->find('\0') != std::string::npos)
            return std::nullopt;
        address.folder = *folder == "/~" || folder->starts_with("/~/") ? folder->substr(1) : *folder;
        remaining = remaining.substr(0, slash);
    }
    const std::size_t at = remaining.rfind('@');
    if (at != std::string_view::npos) {
        const auto user = part_of(remaining.substr(0, at), is_uri);
        if (!user || !is_plain_word(*user))
            return std::nullopt;
        address.user = *user;
        remaining.remove_prefix(at + 1);
    }
    if (!split_host(remaining, address))
        return std::nullopt;
    return address;
}

}  // namespace relay_hub
