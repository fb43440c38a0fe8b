#include "connect/typed_address.h"

#include <glib.h>
#include <netdb.h>

#include <algorithm>

#include "base/glib_owners.h"

namespace relay_hub::connect {
namespace {

bool is_text(const std::string& bytes) {
    return g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr) != FALSE;
}

std::string trimmed(const std::string& text) {
    const GText copy(g_strdup(text.c_str()));
    return g_strstrip(copy.get());
}

// What cannot be seen could pass for another name; longer ones the system does not look up.
bool can_be_name(const std::string& word) {
    if (word.size() >= NI_MAXHOST)
        return false;
    for (const char* letter = word.c_str(); *letter != '\0'; letter = g_utf8_next_char(letter)) {
        if (g_unichar_isgraph(g_utf8_get_char(letter)) == FALSE)
            return false;
    }
    return true;
}

}  // namespace

std::optional<SshAddress> parse_typed(const std::string& text) {
    if (!is_text(text))
        return std::nullopt;
    auto address = parse_ssh_address(trimmed(text));
    if (!address)
        return std::nullopt;
    // A URI can spell bytes that are no text, and blanks that would be lost where the address is read again.
    const std::string whole = address->whole();
    if (!is_text(whole) || trimmed(whole) != whole || !can_be_name(address->user) ||
        !can_be_name(address->host))
        return std::nullopt;
    return address;
}

std::string folder_of_typed(const std::string& typed) {
    std::string folder = trimmed(typed);
    if (folder.empty() || folder.front() == '/' || folder.front() == '~')
        return folder;
    const bool has_drive = folder.size() >= 2 && folder[1] == ':' && g_ascii_isalpha(folder[0]) != FALSE;
    if (!has_drive)
        return "~/" + folder;
    std::ranges::replace(folder, '\\', '/');
    return "/" + folder;
}

}  // namespace relay_hub::connect
