#include "engine/sftp/session.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <utility>

#include "base/diagnostics.h"
#include "base/translated_text.h"

namespace relay_hub::engine::sftp {
namespace {

// Room for what stands before the data of a read or write.
constexpr std::size_t kDataOverhead = 1024;
constexpr std::size_t kMostUsefulHandles = 1024;
// Below this a file system counts as full: the last blocks cannot always be had.
constexpr std::uint64_t kFullBelow = 64ULL * 1024;
constexpr std::size_t kShortestBlock = 1024;

bool is_drive_path(const std::string& path) {
    return path.size() >= 3 && path[0] == '/' && std::isalpha(static_cast<unsigned char>(path[1])) != 0 &&
           path[2] == ':' && (path.size() == 3 || path[3] == '/');
}

// 0 stands for no limit.
std::size_t limited(std::uint64_t announced, std::size_t most) {
    return announced == 0
               ? most
               : static_cast<std::size_t>(std::clamp<std::uint64_t>(announced, kShortestBlock, most));
}

Fields extended(std::string_view name) {
    return Fields().add(name);
}

constexpr std::string_view kPosixRename = "posix-rename@openssh.com";
constexpr std::string_view kFsync = "fsync@openssh.com";
constexpr std::string_view kLinkSetstat = "lsetstat@openssh.com";
constexpr std::string_view kStatvfs = "statvfs@openssh.com";
constexpr std::string_view kLimits = "limits@openssh.com";

}  // namespace

Error status_error(const Status& status) {
    switch (status.code) {
        case StatusCode::kOk:
            return {};
        case StatusCode::kEndOfFile:
            return ENODATA;
        case StatusCode::kNoSuchFile:
            return ENOENT;
        case StatusCode::kPermissionDenied:
            return EACCES;
        case StatusCode::kNoConnection:
        case StatusCode::kConnectionLost:
            return ENOTCONN;
        case StatusCode::kUnsupported:
            return {ENOTSUP, translated("IDS_REASON_UNSUPPORTED_THERE")};
        case StatusCode::kBadMessage:
            return {EINVAL, translated("IDS_REASON_NAME_REFUSED_THERE")};
        case StatusCode::kFailure:
            break;
    }
    std::string text = translated("IDS_REASON_REFUSED_THERE");
    if (!status.message.empty() && status.message != "Failure")
        text += ": " + status.message;
    return {EREMOTEIO, text};
}

Error Session::malformed() {
    connection_->end(translated("IDS_REASON_LINK_NONSENSE"));
    return {ENOTCONN, fill_translated("IDS_REASON_LINK_LOST", {connection_->reason()})};
}

Error Session::take(PendingReply& reply, Reply& answer, PacketType wanted) {
    if (Error error = connection_->wait(reply, interruption_, answer); error)
        return error;
    if (answer.type != PacketType::kStatus)
        return {};
    const auto status = read_status(answer.fields);
    if (!status || (status->code == StatusCode::kOk && wanted != PacketType::kStatus))
        return malformed();
    return status_error(*status);
}

Error Session::take_status(PendingReply& reply) {
    Reply answer;
    return take(reply, answer, PacketType::kStatus);
}

Error Session::take_setting(PendingReply& reply) {
    Error error = take_status(reply);
    error.attributes_only =
        error && error.number != ENOTCONN && error.number != ECANCELED && error.number != ENOENT;
    return error;
}

Error Session::take_handle(PendingReply& reply, std::string& handle) {
    Reply answer;
    if (Error error = take(reply, answer, PacketType::kHandle); error)
        return error;
    auto read = read_handle(answer.fields);
    if (!read)
        return malformed();
    handle = std::move(*read);
    return {};
}

Error Session::take_data(PendingReply& reply, std::string& fields, std::string_view& data) {
    Reply answer;
    if (Error error = take(reply, answer, PacketType::kData); error)
        return error;
    fields = std::move(answer.fields);
    const auto read = read_data(fields);
    // No data and no end either would be asked for again and again.
    if (!read || read->empty())
        return malformed();
    data = *read;
    return {};
}

Error Session::take_attributes(PendingReply& reply, Attributes& attributes) {
    Reply answer;
    if (Error error = take(reply, answer, PacketType::kAttributes); error)
        return error;
    const auto read = read_attributes(answer.fields);
    if (!read)
        return malformed();
    attributes = *read;
    return {};
}

Error Session::take_names(PendingReply& reply, std::vector<NamedEntry>& names) {
    Reply answer;
    if (Error error = take(reply, answer, PacketType::kName); error)
        return error;
    auto read = read_names(answer.fields);
    if (!read)
        return malformed();
    names = std::move(*read);
    return {};
}

PendingReply Session::send_open(const std::string& path, std::uint32_t flags, const Attributes& attributes) {
    return connection_->send({PacketType::kOpen, PacketType::kHandle},
                             Fields().add(path).add(flags).add(attributes));
}

PendingReply Session::send_close(const std::string& handle) {
    return connection_->send({PacketType::kClose}, Fields().add(handle));
}

PendingReply Session::send_read(const std::string& handle, std::uint64_t offset, std::size_t size) {
    return connection_->send({PacketType::kRead, PacketType::kData, size},
                             Fields().add(handle).add(offset).add(static_cast<std::uint32_t>(size)));
}

PendingReply Session::send_write(const std::string& handle, std::uint64_t offset, std::string_view data) {
    return connection_->send({PacketType::kWrite}, Fields().add(handle).add(offset), data);
}

PendingReply Session::send_sync(const std::string& handle) {
    Connection::RequestTraits traits{PacketType::kExtended};
    traits.slow = true;
    return connection_->send(traits, extended(kFsync).add(handle));
}

PendingReply Session::send_open_attributes(const std::string& handle) {
    return connection_->send({PacketType::kFstat, PacketType::kAttributes}, Fields().add(handle));
}

PendingReply Session::send_set_open_attributes(const std::string& handle, const Attributes& attributes) {
    return connection_->send({PacketType::kFsetstat}, Fields().add(handle).add(attributes));
}

PendingReply Session::send_set_attributes(const std::string& path, const Attributes& attributes,
                                          bool of_link) {
    if (of_link)
        return connection_->send({PacketType::kExtended}, extended(kLinkSetstat).add(path).add(attributes));
    return connection_->send({PacketType::kSetstat}, Fields().add(path).add(attributes));
}

PendingReply Session::send_lstat(const std::string& path) {
    return connection_->send({PacketType::kLstat, PacketType::kAttributes}, Fields().add(path));
}

PendingReply Session::send_stat(const std::string& path) {
    return connection_->send({PacketType::kStat, PacketType::kAttributes}, Fields().add(path));
}

PendingReply Session::send_open_folder(const std::string& path) {
    return connection_->send({PacketType::kOpendir, PacketType::kHandle}, Fields().add(path));
}

PendingReply Session::send_read_folder(const std::string& handle) {
    return connection_->send({PacketType::kReaddir, PacketType::kName}, Fields().add(handle));
}

PendingReply Session::send_make_folder(const std::string& path, std::uint32_t mode) {
    Attributes attributes;
    attributes.permissions = mode;
    return connection_->send({PacketType::kMkdir}, Fields().add(path).add(attributes));
}

PendingReply Session::send_remove(const std::string& path) {
    return connection_->send({PacketType::kRemove}, Fields().add(path));
}

PendingReply Session::send_remove_folder(const std::string& path) {
    return connection_->send({PacketType::kRmdir}, Fields().add(path));
}

PendingReply Session::send_rename(const std::string& from, const std::string& to, bool replace) {
    if (replace)
        return connection_->send({PacketType::kExtended}, extended(kPosixRename).add(from).add(to));
    return connection_->send({PacketType::kRename}, Fields().add(from).add(to));
}

Error Session::make_link(const std::string& path, const std::string& target) {
    // The order that OpenSSH takes; the drafts have it the other way round.
    PendingReply reply = connection_->send({PacketType::kSymlink}, Fields().add(target).add(path));
    const Error error = take_status(reply);
    Attributes taken;
    return error.number == EREMOTEIO && !lstat(path, taken) ? Error(EEXIST) : error;
}

Error Session::rename_to_free(const std::string& from, const std::string& to) {
    Attributes found;
    const Error looked = lstat(to, found);
    if (looked.number != ENOENT)
        return looked ? looked : Error(EEXIST);
    PendingReply reply = send_rename(from, to, false);
    const Error error = take_status(reply);
    // Somebody may have taken the name just then.
    return error.number == EREMOTEIO && !lstat(to, found) ? Error(EEXIST) : error;
}

Error Session::read_link(const std::string& path, std::string& target) {
    PendingReply reply = connection_->send({PacketType::kReadlink, PacketType::kName}, Fields().add(path));
    std::vector<NamedEntry> names;
    if (Error error = take_names(reply, names); error)
        return error;
    if (names.size() != 1)
        return malformed();
    target = std::move(names.front().name);
    return {};
}

Error Session::real_path(const std::string& path, std::string& absolute) {
    PendingReply reply = connection_->send({PacketType::kRealpath, PacketType::kName}, Fields().add(path));
    std::vector<NamedEntry> names;
    if (Error error = take_names(reply, names); error)
        return error;
    if (names.size() != 1 || names.front().name.empty() || names.front().name.front() != '/')
        return malformed();
    absolute = std::move(names.front().name);
    return {};
}

Error Session::space(const std::string& path, FileSystemSpace& space) {
    if (!facts_.tells_space)
        return ENOTSUP;
    PendingReply reply =
        connection_->send({PacketType::kExtended, PacketType::kExtendedReply}, extended(kStatvfs).add(path));
    Reply answer;
    if (Error error = take(reply, answer, PacketType::kExtendedReply); error)
        return error;
    const auto read = read_space(answer.fields);
    if (!read)
        return malformed();
    space = *read;
    return {};
}

Error Session::lstat(const std::string& path, Attributes& attributes) {
    PendingReply reply = send_lstat(path);
    return take_attributes(reply, attributes);
}

Error Session::read_small_file(const std::string& path, std::size_t most, std::string& content) {
    std::string handle;
    PendingReply opened = send_open(path, kOpenRead, {});
    if (Error error = take_handle(opened, handle); error)
        return error;
    Error error;
    content.clear();
    while (!error && content.size() < most) {
        PendingReply reply =
            send_read(handle, content.size(), std::min(most - content.size(), facts_.longest_read));
        std::string fields;
        std::string_view data;
        error = take_data(reply, fields, data);
        content += data;
    }
    (void)send_close(handle);
    return error.number == ENODATA ? Error() : error;
}

Error Session::explain(const Error& error, const std::string& folder, std::uint64_t wanted) {
    FileSystemSpace found;
    if (error.number != EREMOTEIO || space(folder, found))
        return error;
    if (found.read_only)
        return EROFS;
    const bool no_room =
        found.fragment_size > 0 && found.available < std::max(wanted, kFullBelow) / found.fragment_size;
    const bool no_nodes = found.file_nodes > 0 && found.free_file_nodes == 0;
    return no_room || no_nodes ? Error{ENOSPC, translated("IDS_REASON_DISK_FULL_THERE")} : error;
}

Error Session::learn_facts(const std::string& folder) {
    for (const Extension& extension : connection_->extensions()) {
        const std::array<std::pair<std::string_view, bool*>, 4> known{
            {{kPosixRename, &facts_.replaces_atomically},
             {kFsync, &facts_.syncs},
             {kLinkSetstat, &facts_.sets_attributes_of_links},
             {kStatvfs, &facts_.tells_space}}};
        for (const auto& [name, fact] : known)
            *fact = *fact || extension.name == name;
        if (extension.name == kLimits) {
            PendingReply reply =
                connection_->send({PacketType::kExtended, PacketType::kExtendedReply}, extended(kLimits));
            take_limits(reply);
        }
    }
    if (Error error = real_path(".", facts_.home); error)
        return error;
    facts_.has_drives = is_drive_path(facts_.home);
    if (folder.empty())
        return {};
    std::string wanted = folder;
    if (folder.front() == '~')
        wanted = facts_.home + folder.substr(1);
    Attributes attributes;
    PendingReply looked = send_stat(wanted);
    Error error = take_attributes(looked, attributes);
    if (!error && attributes.permissions && !S_ISDIR(*attributes.permissions))
        error = {ENOTDIR, wanted + ": " + error_text(ENOTDIR)};
    if (!error)
        error = real_path(wanted, facts_.first_folder);
    if (error.number == ENOENT)
        error.text = fill_translated("IDS_REASON_NOT_THERE", {wanted});
    return error;
}

void Session::take_limits(PendingReply& reply) {
    Reply answer;
    if (take(reply, answer, PacketType::kExtendedReply))
        return;
    const auto limits = read_limits(answer.fields);
    if (!limits)
        return;
    const std::size_t packet = limited(limits->packet, kLongestPacket);
    const std::size_t most = packet > 2 * kDataOverhead ? packet - kDataOverhead : kShortestBlock;
    facts_.longest_read = limited(limits->read, most);
    facts_.longest_write = limited(limits->write, most);
    if (limits->handles > 0)
        facts_.most_handles =
            static_cast<std::size_t>(std::min<std::uint64_t>(limits->handles, kMostUsefulHandles));
}

}  // namespace relay_hub::engine::sftp
