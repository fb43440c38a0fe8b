#include "engine/request_handlers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <new>
#include <string_view>

#include "base/diagnostics.h"
#include "base/plain_text.h"
#include "base/translated_text.h"
#include "base/unicode_hex.h"
#include "engine/wire_text.h"
#include "link_engine/message_names.h"
#include "xml_doc/message_writer.h"
#include "xml_doc/zev_xml.h"

namespace relay_hub::engine {
namespace {

constexpr std::size_t kLongestShownPath = 600;
constexpr std::uint64_t kFixedDrive = 3;
// More than a request holds that names no file.
constexpr std::size_t kLongestPlainRequest = 200;

// What a request says of one path: plain, hex or both. before stands in front of the tags.
std::string requested_text(CZEVXML& request, const std::string& before, const char* plain_tag,
                           const char* hex_tag) {
    const std::string plain = plain_tag != nullptr ? request.Query(before + plain_tag) : std::string();
    return meant_text(plain, request.Query(before + hex_tag)).value_or(std::string());
}

std::string not_a_path(const std::string& text) {
    return fill_translated("IDS_REASON_NOT_A_PATH", {in_one_line(text, kLongestShownPath)});
}

std::string done_or_reason(const Error& error) {
    return error ? failure_text(reason_text(error)) : success_text();
}

std::string item_record(std::size_t index) {
    return std::string(wire::kItems) + "/" + wire::kRecord + "[" + std::to_string(index) + "]/";
}

std::size_t item_count(CZEVXML& request) {
    return static_cast<std::size_t>(request.GetMRSCount(wire::kItems));
}

// Paths of this machine keep their bytes; only the leading separators go.
std::optional<std::string> local_path(const std::string& text) {
    if (text.empty() || text.front() != '/' || text.find('\0') != std::string::npos)
        return std::nullopt;
    const std::size_t start = text.find_first_not_of('/');
    if (start == std::string::npos)
        return std::string();
    return text.substr(start, text.find_last_not_of('/') + 1 - start);
}

// As local_path, for an item: one that ends in "." or ".." is called by its own name.
std::optional<std::string> local_item(const std::string& text) {
    auto path = local_path(text);
    if (!path || (base_name(*path) != "." && base_name(*path) != ".."))
        return path;
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical("/" + *path, error);
    return error ? std::nullopt : local_path(real);
}

}  // namespace

struct RequestHandlers::Handler {
    std::string_view command;
    std::string (*answer)(RequestHandlers& handlers, CZEVXML& request);
    bool needs_remote;
    bool is_list;
};

const RequestHandlers::Handler* RequestHandlers::find_handler(const std::string& command) {
    using H = RequestHandlers;
    static constexpr std::array<Handler, 14> kHandlers{{
        {wire::kGetFileList, [](H& h, CZEVXML& r) { return h.list_files(r); }, true, true},
        {wire::kGetDriverList, [](H& h, CZEVXML&) { return h.list_drives(); }, true, true},
        {wire::kGetRemoteSpecialPath, [](H& h, CZEVXML&) { return h.list_special_paths(); }, true, true},
        {wire::kRename, [](H& h, CZEVXML& r) { return h.rename(r); }, true, false},
        {wire::kDeleteFile, [](H& h, CZEVXML& r) { return h.remove(r, EntryKind::kFile); }, true, false},
        {wire::kDeleteFolder, [](H& h, CZEVXML& r) { return h.remove(r, EntryKind::kFolder); }, true, false},
        {wire::kMoveFileToTrash, [](H& h, CZEVXML& r) { return h.move_to_trash(r); }, true, false},
        {wire::kCreateFolder, [](H& h, CZEVXML& r) { return h.create_folder(r); }, true, false},
        {wire::kRemoteToLocal, [](H& h, CZEVXML& r) { return h.copy(r, false); }, true, false},
        {wire::kLocalToRemote, [](H& h, CZEVXML& r) { return h.copy(r, true); }, true, false},
        {wire::kCheckConnectionStatus, [](H& h, CZEVXML&) { return h.connection_status(); }, false, false},
        {wire::kCheckRemoteOnline, [](H& h, CZEVXML&) { return h.remote_online(); }, false, false},
        {wire::kCheckForHeartbeat, [](H&, CZEVXML&) { return heartbeat(); }, false, false},
        {wire::kExitLinkEngine, [](H&, CZEVXML&) { return std::string(); }, false, false},
    }};
    const auto* const handler = std::ranges::find(kHandlers, std::string_view(command), &Handler::command);
    return handler == kHandlers.end() ? nullptr : handler;
}

bool RequestHandlers::is_answered_at_once(const std::string& message) {
    CZEVXML request;
    if (message.size() > kLongestPlainRequest || !request.LoadXML(message))
        return false;
    const Handler* handler = find_handler(request.Query(wire::kCommand));
    return handler != nullptr && !handler->needs_remote;
}

RequestHandlers::RequestHandlers(std::shared_ptr<RemoteFileSystem> remote,
                                 std::shared_ptr<RemoteFileSystem> local, FrontEnd& front_end,
                                 const std::atomic<bool>& remote_online, HiddenFiles hidden)
    : remote_(std::move(remote)),
      local_(std::move(local)),
      front_end_(front_end),
      remote_online_(remote_online),
      hidden_(hidden) {}

Reply RequestHandlers::handle(const std::string& message) {
    try {
        return answer(message);
    } catch (const std::bad_alloc&) {
        return {failure_text(error_text(ENOMEM))};
    }
}

Reply RequestHandlers::answer(const std::string& message) {
    CZEVXML request;
    if (!request.LoadXML(message)) {
        report(RELAY_HUB_HERE, "a request could not be read:", request.GetOperErrDesc());
        return {failure_text(translated("IDS_REASON_UNREADABLE_REQUEST"))};
    }
    const std::string command = request.Query(wire::kCommand);
    const Handler* handler = find_handler(command);
    if (handler == nullptr)
        return {failure_text(
            fill_translated("IDS_REASON_NO_COMMAND", {in_one_line(command, kLongestShownPath)}))};
    if (handler->needs_remote && !remote_online_)
        return {failure_text(translated("IDS_ERROR_DISCONNECT")), handler->is_list};
    return {handler->answer(*this, request), handler->is_list, command == wire::kExitLinkEngine};
}

std::string RequestHandlers::list_files(CZEVXML& request) {
    const std::string path = requested_text(request, "", wire::kPath, wire::kPathHex);
    const auto folder = inner_path(style(), path);
    if (!folder)
        return failure_text(not_a_path(path));
    Listing listing;
    if (const Error error = remote_->list(*folder, listing); error)
        return done_or_reason(error);
    std::uint64_t bytes = 0;
    const bool knows_free = !remote_->free_space(*folder, bytes);
    const FileList list = file_list(listing, style(), hidden_,
                                    knows_free ? std::optional(bytes) : std::nullopt, kLongestAnswer);
    tell_what_is_missing(wire_path(style(), *folder), list);
    return list.text;
}

std::string RequestHandlers::list_drives() {
    Places places;
    if (const Error error = remote_->places(places); error)
        return done_or_reason(error);
    MessageWriter answer;
    answer.add(wire::kResult, wire::kSuccess);
    for (const std::string& drive : places.drives) {
        const std::string path = wire_path(style(), drive);
        answer.begin_record();
        answer.add(wire::kDriveType, kFixedDrive);
        answer.add(wire::kDisplayName, path);
        answer.add(wire::kNameHex, utf16_hex(path));
        answer.end_record();
    }
    return answer.finish();
}

std::string RequestHandlers::list_special_paths() {
    Places places;
    if (const Error error = remote_->places(places); error)
        return done_or_reason(error);
    MessageWriter answer;
    answer.add(wire::kResult, wire::kSuccess);
    if (places.desktop)
        answer.add(wire::kDesktopFolder, utf16_hex(wire_path(style(), *places.desktop)));
    if (places.documents)
        answer.add(wire::kDocumentsFolder, utf16_hex(wire_path(style(), *places.documents)));
    return answer.finish();
}

std::string RequestHandlers::rename(CZEVXML& request) {
    const std::string from_text = requested_text(request, "", nullptr, wire::kOldPathHex);
    const std::string to_text = requested_text(request, "", nullptr, wire::kNewPathHex);
    const auto from = inner_path(style(), from_text);
    const auto to = inner_path(style(), to_text);
    if (!from || !to)
        return failure_text(not_a_path(from ? to_text : from_text));
    const std::string old_path = known_path(*from);
    const std::string new_path = join_path(known_path(parent_path(*to)), with_pictographs(base_name(*to)));
    return done_or_reason(remote_->rename(old_path, new_path));
}

std::string RequestHandlers::known_path(const std::string& path) {
    Entry entry;
    if (path.empty() || remote_->stat(path, entry).number != ENOENT)
        return path;
    std::string known;
    std::size_t start = 0;
    while (start < path.size()) {
        const std::size_t slash = std::min(path.find('/', start), path.size());
        const auto name = known_name(known, path.substr(start, slash - start));
        // Below what is not there nothing else can be known.
        if (!name)
            return join_path(known, path.substr(start));
        known = join_path(known, *name);
        start = slash + 1;
    }
    return known;
}

std::optional<std::string> RequestHandlers::known_name(const std::string& folder, const std::string& name) {
    Entry entry;
    if (remote_->stat(join_path(folder, name), entry).number != ENOENT)
        return name;
    Listing listing;
    (void)remote_->list(folder, listing);
    for (const Entry& candidate : listing.entries) {
        if (text_from_utf16_hex(character_hex(candidate.name).value_or("")) == name)
            return candidate.name;
    }
    return std::nullopt;
}

std::string RequestHandlers::remove(CZEVXML& request, EntryKind kind) {
    const std::string text = requested_text(request, "", wire::kPath, wire::kPathHex);
    const auto path = inner_path(style(), text);
    if (!path)
        return failure_text(not_a_path(text));
    std::string failed;
    const Error error = remote_->remove(*path, kind, failed);
    if (!error || failed == *path)
        return done_or_reason(error);
    return failure_text(in_one_line(wire_path(style(), failed), kLongestShownPath) + ": " +
                        reason_text(error));
}

std::string RequestHandlers::move_to_trash(CZEVXML& request) {
    FailureList failures;
    const std::size_t count = item_count(request);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string text = requested_text(request, item_record(i), nullptr, wire::kPathHex);
        const auto path = inner_path(style(), text);
        if (!path)
            failures.add(text, not_a_path(text));
        else if (const Error error = remote_->move_to_trash(known_path(*path)); error)
            failures.add(text, reason_text(error));
    }
    return failures.empty() ? success_text() : failure_text(failures.summary("IDS_MSG_ITEMS_FAILED"));
}

std::string RequestHandlers::create_folder(CZEVXML& request) {
    const std::string text = requested_text(request, "", wire::kPath, wire::kPathHex);
    const auto path = inner_path(style(), text);
    if (!path)
        return failure_text(not_a_path(text));
    constexpr mode_t kEveryRight = 0777;
    const Error error = is_root(style(), *path) ? EEXIST : remote_->make_folder(*path, kEveryRight);
    return done_or_reason(error);
}

CopySide RequestHandlers::remote_side() const {
    return {*remote_, [style = style()](const std::string& path) { return wire_path(style, path); }};
}

CopySide RequestHandlers::local_side() const {
    return {*local_, [](const std::string& path) { return "/" + path; }};
}

std::string RequestHandlers::copy(CZEVXML& request, bool to_remote) {
    CopyBatch batch(
        to_remote ? local_side() : remote_side(), to_remote ? remote_side() : local_side(),
        [style = style(), to_remote](const std::string& name) {
            return can_travel(style, name) && (!to_remote || keeps_name(style, name));
        },
        front_end_);
    std::vector<CopyItem> items;
    const std::size_t count = item_count(request);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string record = item_record(i);
        const std::string local = requested_text(request, record, wire::kLocalPath, wire::kLocalPathHex);
        const std::string remote = requested_text(request, record, wire::kRemotePath, wire::kRemotePathHex);
        const auto local_place = to_remote ? local_item(local) : local_path(local);
        const auto remote_place = inner_path(style(), remote);
        const std::string& from = to_remote ? local : remote;
        const std::string& to = to_remote ? remote : local;
        const auto& source = to_remote ? local_place : remote_place;
        const auto& target = to_remote ? remote_place : local_place;
        if (source && target)
            items.push_back({*source, *target, i});
        else
            batch.add_failure(from, not_a_path(source ? to : from));
    }
    return run_copy(request, batch, items);
}

std::string RequestHandlers::run_copy(CZEVXML& request, CopyBatch& batch,
                                      const std::vector<CopyItem>& items) {
    const bool is_move = request.Query(wire::kMove) == wire::kYes;
    batch.run(items, is_move ? Purpose::kMove : Purpose::kCopy);
    const std::optional<std::string> reason = failure_of_copy(batch);
    if (!is_move)
        return reason ? failure_text(*reason) : success_text();
    std::string arrived(item_count(request), *wire::kNo);
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (batch.arrived()[i])
            arrived[items[i].record] = *wire::kYes;
    }
    return result_of_move(reason, arrived);
}

std::optional<std::string> RequestHandlers::failure_of_copy(const CopyBatch& batch) {
    const FailureList& failures = batch.failures();
    const FailureList& losses = batch.lost_attributes();
    for (const Failure& failure : failures.kept())
        report(RELAY_HUB_HERE, "not copied:", in_one_line(failure.item + ": " + failure.reason));
    for (const Failure& loss : losses.kept())
        report(RELAY_HUB_HERE,
               "copied without its mode or times:", in_one_line(loss.item + ": " + loss.reason));
    if (!remote_online_ || front_end_.broken_off())
        return translated("IDS_COPY_WENT_OFFLINE");
    if (!batch.unanswered().empty())
        return fill_translated("IDS_COPY_UNANSWERED",
                               {in_one_line(batch.unanswered(), kLongestShownPath),
                                std::to_string(batch.left()), std::to_string(batch.total())});
    if (failures.empty() && losses.empty())
        return std::nullopt;
    // Where something was done the answer is a success, and only the box reports the failures.
    std::string summary = failures.summary("IDS_MSG_ITEMS_FAILED");
    summary += (failures.empty() || losses.empty() ? "" : "\n\n") + losses.summary("IDS_MSG_ATTRIBUTES_LOST");
    if (batch.anything_done() && front_end_.message(summary))
        return std::nullopt;
    return summary;
}

// The call-back works in the middle of the request: the box opens when that has ended.
void RequestHandlers::tell_what_is_missing(const std::string& folder, const FileList& list) {
    const std::string shown = in_one_line(folder, kLongestShownPath);
    std::string text;
    if (list.sent < list.shown)
        text =
            fill_translated("IDS_LIST_CUT", {shown, std::to_string(list.shown), std::to_string(list.sent)});
    if (!list.missing.empty())
        text += (text.empty() ? "" : "\n") +
                fill_translated("IDS_LIST_LEFT_OUT",
                                {shown, std::to_string(list.missing.count()), list.missing.lines()});
    if (!text.empty() && !front_end_.message(text))
        report(RELAY_HUB_HERE, "not shown to the user:", in_one_line(text));
}

const char* RequestHandlers::yes_if_online() const {
    return remote_online_ ? wire::kYes : wire::kNo;
}

std::string RequestHandlers::connection_status() const {
    return message_text({{wire::kResult, wire::kSuccess},
                         {wire::kLocalDeviceOn, wire::kYes},
                         {wire::kDeviceOn, wire::kYes},
                         {wire::kApplicationOn, yes_if_online()}});
}

std::string RequestHandlers::remote_online() const {
    return message_text({{wire::kResult, wire::kSuccess}, {wire::kRemoteIsOnline, yes_if_online()}});
}

std::string RequestHandlers::heartbeat() {
    return message_text({{wire::kServerIsLive, wire::kYes}});
}

}  // namespace relay_hub::engine
