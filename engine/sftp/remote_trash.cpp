#include "engine/sftp/remote_trash.h"

#include <sys/stat.h>

#include <cerrno>
#include <string_view>

#include "base/plain_text.h"
#include "base/translated_text.h"
#include "base/trash_info.h"
#include "engine/names.h"
#include "engine/sftp/remote_entry.h"

namespace relay_hub::engine::sftp {
namespace {

constexpr int kMostNamesTried = 1000;
constexpr std::size_t kLongestName = 200;
constexpr std::string_view kMacHomes = "/Users/";

// Or a link to one, as where the user keeps it on another disk.
bool is_folder(Session& session, const std::string& path) {
    Attributes attributes;
    PendingReply look = session.send_stat(path);
    return !session.take_attributes(look, attributes) && entry_of({}, attributes).kind == EntryKind::kFolder;
}

Error need_folder(Session& session, const std::string& path) {
    if (is_folder(session, path))
        return {};
    PendingReply making = session.send_make_folder(path, S_IRWXU);
    return session.take_status(making);
}

// EREMOTEIO when the name is taken.
Error write_new_file(Session& session, const std::string& path, const std::string& text) {
    Attributes attributes;
    attributes.permissions = S_IRUSR | S_IWUSR;
    PendingReply opening = session.send_open(path, kOpenWrite | kOpenCreate | kOpenExclusive, attributes);
    std::string handle;
    if (Error error = session.take_handle(opening, handle); error)
        return error;
    PendingReply writing = session.send_write(handle, 0, text);
    PendingReply closing = session.send_close(handle);
    Error error = session.take_status(writing);
    if (!error)
        error = session.take_status(closing);
    if (error)
        (void)session.send_remove(path);
    return error;
}

Error explain_refusal(Session& session, const Error& error, const std::string& path,
                      const std::string& trash) {
    FileSystemSpace here;
    FileSystemSpace there;
    const std::string folder = path.substr(0, path.rfind('/'));
    if (error.number != EREMOTEIO || session.space(folder.empty() ? "/" : folder, here) ||
        session.space(trash, there) || here.id == there.id)
        return error;
    return {EXDEV, translated("IDS_REASON_TRASH_ELSEWHERE")};
}

Error move_to_mac_trash(Session& session, const std::string& path, const std::string& trash) {
    Error error = EEXIST;
    for (int number = 1; error.number == EEXIST && number <= kMostNamesTried; ++number)
        error = session.rename_to_free(path, trash + "/" + numbered_name(base_name(path), number));
    return explain_refusal(session, error, path, trash);
}

// The info file is made first: it reserves the name for this item.
Error move_to_home_trash(Session& session, const std::string& path, const std::string& trash) {
    const std::string own_name = base_name(path);
    const std::string name = own_name.size() > kLongestName ? presentable(own_name, kLongestName) : own_name;
    const std::string text = trash_info(path);
    const std::string infos = trash + "/info/";
    const std::string files = trash + "/files/";
    Error error;
    for (int number = 1; number <= kMostNamesTried; ++number) {
        const std::string reserved = numbered_name(name, number);
        const std::string info = std::string(infos).append(reserved).append(kTrashInfoSuffix);
        error = write_new_file(session, info, text);
        Attributes taken;
        if (error.number == EREMOTEIO && !session.lstat(info, taken))
            continue;
        if (error)
            return session.explain(error, trash, text.size());
        error = session.rename_to_free(path, files + reserved);
        // Where nobody waited for the answer the item may be there, and only the info file leads back from
        // there.
        if (!error || error.number == ECANCELED || error.number == ENOTCONN)
            return error;
        (void)session.send_remove(info);
        if (error.number != EEXIST)
            break;
    }
    return explain_refusal(session, error, path, trash);
}

}  // namespace

Error move_to_trash(Session& session, const std::string& path) {
    // A server that shows a user nothing but his home calls it the root.
    const std::string home = session.facts().home == "/" ? "" : session.facts().home;
    if (session.facts().has_drives)
        return {ENOTSUP, translated("IDS_REASON_NO_TRASH_THERE")};
    Attributes item;
    if (Error error = session.lstat(path, item); error)
        return error;
    const std::string mac_trash = home + "/.Trash";
    const bool is_mac = home.starts_with(kMacHomes) && is_folder(session, mac_trash);
    const std::string trash = is_mac ? mac_trash : home + "/.local/share/Trash";
    // The trash cannot go into itself, and what is in it is trashed already.
    if (path == trash || path.starts_with(trash + "/") || trash.starts_with(path + "/"))
        return {EINVAL, translated("IDS_REASON_IN_TRASH")};
    if (is_mac)
        return move_to_mac_trash(session, path, trash);
    for (const char* part : {"/.local", "/.local/share", "/.local/share/Trash", "/.local/share/Trash/files",
                             "/.local/share/Trash/info"}) {
        if (Error error = need_folder(session, home + part); error)
            return session.explain(error, home, 0);
    }
    return move_to_home_trash(session, path, trash);
}

}  // namespace relay_hub::engine::sftp
