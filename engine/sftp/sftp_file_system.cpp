#include "engine/sftp/sftp_file_system.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "base/diagnostics.h"
#include "base/translated_text.h"
#include "engine/sftp/folder_reader.h"
#include "engine/sftp/part_name.h"
#include "engine/sftp/places_finder.h"
#include "engine/sftp/remote_entry.h"
#include "engine/sftp/remote_trash.h"
#include "engine/sftp/respelling.h"
#include "engine/sftp/sftp_sink.h"
#include "engine/sftp/tree_remover.h"

namespace relay_hub::engine::sftp {
namespace {

constexpr std::size_t kMostWaitingFiles = 1000;
// At 10 ms a round trip, of which a new file takes three, some 8,000 files a second.
constexpr std::size_t kMostInProgress = 256;
constexpr std::size_t kMostLooksInFlight = 64;
constexpr std::uint64_t kLargestAhead = 1024UL * 1024;
constexpr std::uint64_t kMostBytesAhead = 8UL * 1024 * 1024;
constexpr std::size_t kMostFilesAhead = 256;
constexpr std::size_t kLongestNameReported = 200;

Error offline() {
    return {ENOTCONN, translated("IDS_REASON_NOT_CONNECTED")};
}

// Reading ahead and writing may each have a part of the handles that the server gives out.
std::size_t share_of_handles(const Session& session, std::size_t most) {
    return std::clamp<std::size_t>(session.facts().most_handles / 3, 1, most);
}

// Which of the links lead to folders: a look at each, many at a time.
Error look_behind_links(Session& session, const std::string& folder, std::vector<Entry>& entries) {
    std::deque<std::pair<Entry*, PendingReply>> looks;
    const auto take_oldest = [&] {
        Attributes attributes;
        const Error error = session.take_attributes(looks.front().second, attributes);
        if (!error)
            looks.front().first->opens_as_folder = entry_of({}, attributes).kind == EntryKind::kFolder;
        looks.pop_front();
        // A link that leads nowhere is one that does not open.
        return error.number == ENOTCONN || error.number == ECANCELED ? error : Error();
    };
    for (Entry& entry : entries) {
        if (entry.kind != EntryKind::kLink)
            continue;
        looks.emplace_back(&entry, session.send_stat(folder + "/" + entry.name));
        if (looks.size() < kMostLooksInFlight)
            continue;
        if (Error error = take_oldest(); error)
            return error;
    }
    while (!looks.empty()) {
        if (Error error = take_oldest(); error)
            return error;
    }
    return {};
}

// A refused name as it can be reported.
std::string reportable(const std::string& name) {
    std::string text = name.substr(0, kLongestNameReported);
    std::replace(text.begin(), text.end(), '\0', '?');
    return text;
}

}  // namespace

Style style_of(bool has_drives, std::optional<Style> wished) {
    if (wished == Style::kPosix || (!wished && !has_drives))
        return Style::kPosix;
    return has_drives ? Style::kDrives : Style::kWindows;
}

SftpFileSystem::SftpFileSystem(SessionSource current_session, std::optional<Style> style)
    : current_session_(std::move(current_session)), wished_style_(style) {}

void SftpFileSystem::interrupt() {
    interruption_.raised = true;
    if (const auto session = current_session_())
        session->connection().wake_waiting();
}

void SftpFileSystem::set_watch(std::function<bool()> goes_on) {
    interruption_.goes_on = std::move(goes_on);
    interruption_.ended = false;
}

Style SftpFileSystem::style() const {
    const auto session = current_session_();
    return style_of(session && session->facts().has_drives, wished_style_);
}

Error SftpFileSystem::begin(std::shared_ptr<Session>& session) {
    if (interruption_.raised)
        return ECANCELED;
    const auto current = current_session_();
    if (!current)
        return offline();
    session = std::make_shared<Session>(*current, interruption_);
    return {};
}

Error SftpFileSystem::places(Places& places) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    return find_places(*session, style(), session->facts().first_folder, places);
}

Error SftpFileSystem::free_space(const std::string& folder, std::uint64_t& bytes) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    FileSystemSpace space;
    if (Error error = session->space(server_path(folder), space); error)
        return error;
    bytes = space.available * space.fragment_size;
    return {};
}

std::size_t SftpFileSystem::most_waiting_files() const {
    return kMostWaitingFiles;
}

Error SftpFileSystem::list(const std::string& folder, Listing& listing) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    const std::string path = server_path(folder);
    forget_listed();
    Error error = read_folder(*session, path, [&](NamedEntry entry) {
        if (entry.name == "." || entry.name == "..")
            return;
        if (!is_possible_name(entry.name)) {
            report(RELAY_HUB_HERE, "the other computer sent an impossible name in:", path);
            listing.failed.push_back(
                {reportable(entry.name), {EINVAL, translated("IDS_REASON_NAME_REFUSED_THERE")}});
        } else if (is_part_name(entry.name)) {
            // A file that is just being written is not there yet.
            listed_parts_.push_back(std::move(entry.name));
        } else {
            listing.entries.push_back(entry_of(std::move(entry.name), entry.attributes));
        }
    });
    if (!error)
        error = look_behind_links(*session, path, listing.entries);
    if (!error)
        listed_folder_ = folder;
    return error;
}

void SftpFileSystem::forget_listed() {
    listed_folder_.reset();
    listed_parts_.clear();
}

Error SftpFileSystem::stat(const std::string& path, Entry& entry) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    Attributes attributes;
    if (Error error = session->lstat(server_path(path), attributes); error)
        return error;
    entry = entry_of(base_name(path), attributes);
    return {};
}

Error SftpFileSystem::read_link(const std::string& path, std::string& target) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    return session->read_link(server_path(path), target);
}

// The protocol knows no identities; the other computer's folders are none of this one's.
Error SftpFileSystem::folder_chain(const std::string& folder, std::vector<FileIdentity>& chain) {
    chain.clear();
    Entry entry;
    if (Error error = stat(folder, entry); error)
        return error;
    return {};
}

void SftpFileSystem::read_ahead(std::span<const FileToRead> files) {
    if (files.empty())
        ahead_.clear();
    for (const FileToRead& file : files)
        ahead_.push_back({file.path, file.entry.size, nullptr});
    std::shared_ptr<Session> session;
    if (!begin(session))
        fetch_ahead(session);
}

void SftpFileSystem::fetch_ahead(const std::shared_ptr<Session>& session) {
    const std::size_t most_files = share_of_handles(*session, kMostFilesAhead);
    std::uint64_t bytes = 0;
    std::size_t files = 0;
    for (Ahead& next : ahead_) {
        bytes += next.size;
        if (++files > most_files || bytes > kMostBytesAhead || next.size > kLargestAhead)
            break;
        if (!next.source)
            next.source = std::make_unique<SftpSource>(session, server_path(next.path), next.size);
        else
            next.source->advance();
    }
    session->connection().flush();
}

Error SftpFileSystem::open_source(const std::string& path, const Entry& entry,
                                  std::unique_ptr<FileSource>& source) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    const auto found =
        std::find_if(ahead_.begin(), ahead_.end(), [&path](const Ahead& next) { return next.path == path; });
    std::unique_ptr<SftpSource> opened;
    if (found != ahead_.end()) {
        opened = std::move(found->source);
        ahead_.erase(ahead_.begin(), found + 1);
    }
    const bool was_ahead = opened != nullptr;
    if (!was_ahead)
        opened = std::make_unique<SftpSource>(session, server_path(path), entry.size);
    fetch_ahead(session);
    const bool waits = !opened->arrived();
    Error error = opened->finish_open();
    if (error.number == EREMOTEIO && was_ahead) {
        // Those opened ahead may hold all the handles that it has.
        for (Ahead& next : ahead_) {
            if (next.source)
                (void)next.source->finish_open();
            next.source.reset();
        }
        opened = std::make_unique<SftpSource>(session, server_path(path), entry.size);
        error = opened->finish_open();
    }
    if (error)
        return error;
    // Those behind it were opened meanwhile.
    if (waits)
        fetch_ahead(session);
    source = std::move(opened);
    return {};
}

Error SftpFileSystem::open_sink(const std::string& path, const Entry& entry, bool replace,
                                std::unique_ptr<FileSink>& sink) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    if (replace && !session->facts().replaces_atomically)
        return {ENOTSUP, translated("IDS_REASON_NO_SAFE_REPLACE")};
    pipeline_.set_limit(share_of_handles(*session, kMostInProgress));
    sink = std::make_unique<SftpSink>(session, pipeline_, server_path(path), entry, replace);
    return {};
}

std::vector<Error> SftpFileSystem::commit(std::vector<std::unique_ptr<FileSink>>& sinks, bool all) {
    // The others keep the link busy meanwhile.
    const auto end = sinks.begin() + static_cast<std::ptrdiff_t>(all ? sinks.size() : (sinks.size() + 1) / 2);
    for (auto sink = sinks.begin(); sink != end; ++sink)
        pipeline_.complete(static_cast<SftpSink&>(**sink));
    std::vector<Error> results;
    for (auto sink = sinks.begin(); sink != end; ++sink)
        results.push_back(static_cast<SftpSink&>(**sink).result());
    sinks.erase(sinks.begin(), end);
    return results;
}

// Where the server lets a folder be opened as a file, its names can be synced as well. Where it does not, the
// sync of a file takes its name along on the usual file systems.
Error SftpFileSystem::settle(const std::vector<std::string>& folders) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    if (!session->facts().syncs)
        return {};
    for (std::size_t start = 0; start < folders.size(); start += kMostInProgress) {
        const std::size_t end = std::min(folders.size(), start + kMostInProgress);
        std::vector<PendingReply> replies;
        for (std::size_t i = start; i < end; ++i)
            replies.push_back(session->send_open(server_path(folders[i]), kOpenRead, {}));
        std::vector<PendingReply> syncs;
        for (PendingReply& reply : replies) {
            std::string handle;
            Error error = session->take_handle(reply, handle);
            if (error.number == ENOTCONN || error.number == ECANCELED)
                return error;
            if (error)
                continue;
            syncs.push_back(session->send_sync(handle));
            (void)session->send_close(handle);
        }
        for (PendingReply& sync : syncs) {
            // Some file systems sync files alone, and say so; a bare failure is the disk's.
            Error error = session->take_status(sync);
            if (error.number == ENOTCONN || error.number == ECANCELED || error.number == EREMOTEIO)
                return error;
        }
    }
    return {};
}

std::string SftpFileSystem::part_name() {
    return PartName().text();
}

void SftpFileSystem::sweep(const std::string& folder) {
    std::shared_ptr<Session> session;
    if (begin(session))
        return;
    if (listed_folder_ != folder) {
        Listing ignored;
        if (list(folder, ignored))
            return;
    }
    const std::time_t now = std::time(nullptr);
    for (const std::string& name : listed_parts_) {
        if (is_left_over(name, now))
            (void)session->send_remove(server_path(join_path(folder, name)));
    }
    forget_listed();
    session->connection().flush();
}

Error SftpFileSystem::make_folder(const std::string& path, mode_t mode) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    PendingReply making = session->send_make_folder(server_path(path), mode);
    pipeline_.advance_until(making);
    const Error error = session->take_status(making);
    Attributes existing;
    if (error.number == EREMOTEIO && !session->lstat(server_path(path), existing))
        return EEXIST;
    return session->explain(error, server_path(parent_path(path)), 0);
}

Error SftpFileSystem::make_link(const std::string& path, const std::string& target, const Entry& entry,
                                bool replace) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    if (replace && !session->facts().replaces_atomically)
        return {ENOTSUP, translated("IDS_REASON_NO_SAFE_REPLACE")};
    const std::string folder = server_path(parent_path(path));
    const PartName part;
    const std::string made = replace ? folder + "/" + part.text() : server_path(path);
    const auto remove_part = [&] {
        if (replace)
            (void)session->send_remove(made);
        session->connection().flush();
    };
    if (Error error = session->make_link(made, target); error) {
        // It may be made all the same, where nobody waited for the answer.
        remove_part();
        return session->explain(error, folder, 0);
    }
    if (session->facts().sets_attributes_of_links && entry.has_times) {
        Attributes times;
        times.times = attributes_of(entry).times;
        PendingReply ignored = session->send_set_attributes(made, times, true);
        (void)session->take_status(ignored);
    }
    if (!replace)
        return {};
    PendingReply renaming = session->send_rename(made, server_path(path), true);
    Error error = session->take_status(renaming);
    if (error)
        remove_part();
    return error;
}

std::vector<Error> SftpFileSystem::set_attributes(std::span<const FolderAttributes> folders) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return std::vector<Error>(folders.size(), error);
    std::vector<Error> results;
    results.reserve(folders.size());
    std::deque<std::array<PendingReply, 2>> settings;
    const auto take_oldest = [&] {
        const Error of_times = session->take_setting(settings.front()[0]);
        const Error of_rights = session->take_setting(settings.front()[1]);
        results.push_back(of_times ? of_times : of_rights);
        settings.pop_front();
    };
    for (const auto& [path, entry] : folders) {
        if (settings.size() >= kMostInProgress)
            take_oldest();
        // The rights last: by them a folder is known that an earlier copy has not completed, and a server
        // that ends between the two must leave it so.
        const Attributes all = attributes_of(entry);
        Attributes times;
        times.times = all.times;
        Attributes rights;
        rights.permissions = all.permissions;
        settings.push_back({session->send_set_attributes(server_path(path), times, false),
                            session->send_set_attributes(server_path(path), rights, false)});
    }
    while (!settings.empty())
        take_oldest();
    return results;
}

Error SftpFileSystem::rename(const std::string& from, const std::string& to) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    Error error = session->rename_to_free(server_path(from), server_path(to));
    if (error.number == EEXIST && is_respelling(*session, server_path(from), server_path(to)))
        error = respell(*session, server_path(from), server_path(to));
    Attributes found;
    return error.number == EREMOTEIO && session->lstat(server_path(from), found) ? Error(ENOENT) : error;
}

Error SftpFileSystem::remove(const std::string& path, EntryKind kind, std::string& failed) {
    failed = path;
    Entry entry;
    if (Error error = stat(path, entry); error)
        return error;
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    if (entry.kind == EntryKind::kFolder && kind != EntryKind::kFolder)
        return EISDIR;
    if (is_root(style(), path))
        return EBUSY;
    // A link to a folder is listed as one, but it is the link that goes.
    if (kind == EntryKind::kFolder && entry.kind != EntryKind::kFolder && entry.kind != EntryKind::kLink)
        return ENOTDIR;
    if (entry.kind == EntryKind::kFolder) {
        Error error = remove_tree(*session, server_path(path), failed);
        failed = inner_of(failed);
        return error;
    }
    PendingReply reply = session->send_remove(server_path(path));
    return session->take_status(reply);
}

Error SftpFileSystem::move_to_trash(const std::string& path) {
    std::shared_ptr<Session> session;
    if (Error error = begin(session); error)
        return error;
    return sftp::move_to_trash(*session, server_path(path));
}

}  // namespace relay_hub::engine::sftp
