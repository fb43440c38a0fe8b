#include "connect/computer_address.h"

#include <glib.h>

#include <algorithm>
#include <charconv>

namespace relay_hub::connect {
namespace {

constexpr int kLargestPort = 65535;
constexpr std::string_view kSchemes[] = {"ssh://", "sftp://"};

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// What starts with a dash would be an option to ssh; what cannot be seen could pass for another name.
bool is_word(std::string_view text) {
    if (text.empty() || text.front() == '-' ||
        g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) == FALSE)
        return false;
    const std::string word(text);
    for (const char* letter = word.c_str(); *letter != '\0'; letter = g_utf8_next_char(letter)) {
        if (g_unichar_isgraph(g_utf8_get_char(letter)) == FALSE)
            return false;
    }
    return true;
}

bool read_port(std::string_view text, int& port) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc() && end == text.data() + text.size() && port > 0 && port <= kLargestPort;
}

// "host", "host:port", "[address]", "[address]:port" or an IPv6 address alone.
bool read_host_and_port(std::string_view text, ComputerAddress& address) {
    std::string_view port;
    if (text.starts_with('[')) {
        const std::size_t end = text.find(']');
        if (end == text.npos)
            return false;
        address.host = text.substr(1, end - 1);
        port = text.substr(end + 1);
    } else {
        const std::size_t colon = text.find(':');
        const bool alone = colon == text.npos || text.find(':', colon + 1) != text.npos;
        address.host = alone ? text : text.substr(0, colon);
        port = alone ? std::string_view() : text.substr(colon);
    }
    if (!is_word(address.host) || address.host.find_first_of("[]@") != std::string::npos)
        return false;
    return port.empty() || (port.starts_with(':') && read_port(port.substr(1), address.port));
}

}  // namespace

std::optional<ComputerAddress> parse_address(std::string_view text) {
    text = trimmed(text);
    for (const std::string_view scheme : kSchemes) {
        if (text.starts_with(scheme))
            text.remove_prefix(scheme.size());
    }
    ComputerAddress address;
    if (const std::size_t slash = text.find('/'); slash != text.npos) {
        address.folder = text.substr(slash);
        if (!g_utf8_validate(address.folder.data(), static_cast<gssize>(address.folder.size()), nullptr))
            return std::nullopt;
        text = text.substr(0, slash);
    }
    if (const std::size_t at = text.rfind('@'); at != text.npos) {
        address.user = text.substr(0, at);
        if (!is_word(address.user))
            return std::nullopt;
        text.remove_prefix(at + 1);
    }
    if (!read_host_and_port(text, address))
        return std::nullopt;
    return address;
}

std::string computer_of(const ComputerAddress& address) {
    const bool numeric = address.host.find(':') != std::string::npos;
    std::string text = address.user.empty() ? "" : address.user + "@";
    text += numeric ? "[" + address.host + "]" : address.host;
    if (address.port != 0)
        text += ":" + std::to_string(address.port);
    return text;
}

std::string whole_address(const ComputerAddress& address) {
    return computer_of(address) + address.folder;
}

std::string folder_of_typed(std::string_view typed) {
    std::string folder(trimmed(typed));
    if (folder.empty() || folder.front() == '/')
        return folder;
    const bool has_drive = folder.size() >= 2 && folder[1] == ':' && g_ascii_isalpha(folder[0]) != 0;
    if (has_drive) {
        std::ranges::replace(folder, '\\', '/');
        return "/" + folder;
    }
    return folder.front() == '~' ? "/" + folder : "/~/" + folder;
}

}  // namespace relay_hub::connect
