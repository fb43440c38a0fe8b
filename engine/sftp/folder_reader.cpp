#include "engine/sftp/folder_reader.h"

#include <algorithm>
#include <cerrno>
#include <deque>
#include <utility>

#include "base/translated_text.h"

namespace relay_hub::engine::sftp {
namespace {

constexpr std::size_t kMostInFlight = 32;
constexpr std::size_t kMostNames = 1000000;
constexpr std::size_t kEmptyAnswer = 1000;
constexpr std::size_t kMostNameBytes = 128UL * 1024 * 1024;

// Of a folder that the user may list but not search the usual server sends no names, not even ".", and says
// nothing of it.
Error check_empty(Session& session, const std::string& path) {
    Attributes attributes;
    const Error error = session.lstat(path + "/.", attributes);
    const bool counts = error.number == EACCES || error.number == ENOTCONN || error.number == ECANCELED;
    return counts ? error : Error();
}

}  // namespace

Error read_folder(Session& session, const std::string& path, const std::function<void(NamedEntry)>& take) {
    PendingReply opening = session.send_open_folder(path);
    std::string handle;
    if (Error error = session.take_handle(opening, handle); error)
        return error;
    std::deque<PendingReply> replies;
    // Most folders end within these, in one round trip; a large one is worth more and more requests.
    std::size_t wanted = 8;
    std::size_t names = 0;
    std::size_t bytes = 0;
    Error error;
    while (!error) {
        while (replies.size() < wanted)
            replies.push_back(session.send_read_folder(handle));
        std::vector<NamedEntry> answer;
        error = session.take_names(replies.front(), answer);
        replies.pop_front();
        wanted = std::min(2 * wanted, kMostInFlight);
        // Answers without names must not go on for ever either.
        names += answer.empty() ? kEmptyAnswer : answer.size();
        for (NamedEntry& entry : answer) {
            bytes += entry.name.size();
            take(std::move(entry));
        }
        if (!error && (names > kMostNames || bytes > kMostNameBytes))
            error = {EOVERFLOW, translated("IDS_REASON_TOO_MANY_NAMES")};
    }
    (void)session.send_close(handle);
    session.connection().flush();
    if (error.number != ENODATA)
        return error;
    return bytes == 0 ? check_empty(session, path) : Error();
}

}  // namespace relay_hub::engine::sftp
