#include "engine/sftp/places_finder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/sftp/folder_reader.h"
#include "engine/sftp/remote_entry.h"

namespace relay_hub::engine::sftp {
namespace {

constexpr std::size_t kLongestUserDirs = 64UL * 1024;

bool is_drive_name(std::string_view name) {
    return name.size() == 2 && name[1] == ':' &&
           ((name[0] >= 'A' && name[0] <= 'Z') || (name[0] >= 'a' && name[0] <= 'z'));
}

// Newer servers list the drives; others are asked for the one that holds the user's folder.
Error find_drives(Session& session, std::vector<std::string>& drives) {
    Error error = read_folder(session, "/", [&drives](const NamedEntry& entry) {
        if (is_drive_name(entry.name))
            drives.push_back(entry.name);
    });
    if (error.number == ENOTCONN || error.number == ECANCELED)
        return error;
    if (drives.empty())
        drives.push_back(inner_of(session.facts().home.substr(0, 3)));
    return {};
}

// Desktop and documents, which the front end opens before any drive, become drives after the folder.
void put_first(const std::string& folder, Places& places) {
    std::vector<std::string> order{folder};
    for (auto* place : {&places.desktop, &places.documents}) {
        if (*place)
            order.push_back(**place);
        place->reset();
    }
    order.insert(order.end(), places.drives.begin(), places.drives.end());
    places.drives.clear();
    for (const std::string& each : order) {
        if (std::ranges::find(places.drives, each) == places.drives.end())
            places.drives.push_back(each);
    }
}

}  // namespace

std::string user_folder(const std::string& user_dirs, const std::string& key, const std::string& home) {
    const std::string begin = key + "=\"";
    std::size_t start = user_dirs.starts_with(begin) ? 0 : user_dirs.find("\n" + begin);
    if (start == std::string::npos)
        return {};
    start = user_dirs.find('"', start) + 1;
    const std::size_t end = user_dirs.find_first_of("\"\n", start);
    if (end == std::string::npos || user_dirs[end] != '"')
        return {};
    std::string folder = user_dirs.substr(start, end - start);
    constexpr std::string_view kHome = "$HOME";
    if (folder.starts_with(kHome))
        folder.replace(0, kHome.size(), home);
    // The home itself stands for a folder that the user does without.
    return folder.starts_with('/') && folder != home && folder != home + "/" ? folder : std::string();
}

Error find_places(Session& session, Style style, const std::string& first_folder, Places& places) {
    if (style != Style::kDrives)
        places.drives.push_back({});
    else if (Error error = find_drives(session, places.drives); error)
        return error;
    const std::string& home = session.facts().home;
    std::string user_dirs;
    if (!session.facts().has_drives)
        (void)session.read_small_file(home + "/.config/user-dirs.dirs", kLongestUserDirs, user_dirs);
    const auto or_usual = [&](const char* key, const char* usual) {
        const std::string configured = user_folder(user_dirs, key, home);
        return configured.empty() && user_dirs.empty() ? home + usual : configured;
    };
    const std::array<std::pair<std::string, std::optional<std::string>*>, 3> wanted{
        {{home, &places.home},
         {or_usual("XDG_DESKTOP_DIR", "/Desktop"), &places.desktop},
         {or_usual("XDG_DOCUMENTS_DIR", "/Documents"), &places.documents}}};
    std::array<PendingReply, 3> looks;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (!wanted[i].first.empty())
            looks[i] = session.send_stat(wanted[i].first);
    }
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        Attributes attributes;
        Error error = looks[i].sent() ? session.take_attributes(looks[i], attributes) : Error(ENOENT);
        if (error.number == ENOTCONN || error.number == ECANCELED)
            return error;
        if (!error && entry_of({}, attributes).kind == EntryKind::kFolder)
            *wanted[i].second = inner_of(wanted[i].first);
    }
    // The home stands in for a desktop that is not there.
    if (!first_folder.empty() || !places.desktop)
        put_first(inner_of(first_folder.empty() ? home : first_folder), places);
    return {};
}

}  // namespace relay_hub::engine::sftp
