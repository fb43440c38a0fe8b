#include "engine/sftp/tree_remover.h"

#include <cerrno>
#include <deque>
#include <utility>
#include <vector>

#include "engine/sftp/folder_reader.h"
#include "engine/sftp/remote_entry.h"

namespace relay_hub::engine::sftp {
namespace {

constexpr std::size_t kMostInFlight = 64;
// A server may tell of folders in folders without end.
constexpr std::size_t kDeepest = 1000;

// Removals on their way, the oldest first.
class Removals {
  public:
    Removals(Session& session, std::string& failed) : session_(session), failed_(failed) {}
    void add(std::string path, PendingReply reply) {
        removals_.push_back({std::move(path), std::move(reply)});
    }
    Error wait_until_at_most(std::size_t count) {
        while (removals_.size() > count) {
            Removal oldest = std::move(removals_.front());
            removals_.pop_front();
            // What is gone already is removed.
            if (Error error = session_.take_status(oldest.reply); error && error.number != ENOENT) {
                failed_ = oldest.path;
                return error;
            }
        }
        return {};
    }

  private:
    struct Removal {
        std::string path;
        PendingReply reply;
    };
    Session& session_;
    std::string& failed_;
    std::deque<Removal> removals_;
};

}  // namespace

Error remove_tree(Session& session, const std::string& path, std::string& failed) {
    struct Folder {
        std::string path;
        std::size_t depth = 0;
    };
    std::vector<Folder> to_empty{{path, 0}};
    // Parents before children, and so removed from the end.
    std::vector<std::string> emptied;
    Removals removals(session, failed);
    while (!to_empty.empty()) {
        const Folder folder = std::move(to_empty.back());
        to_empty.pop_back();
        failed = folder.path;
        if (folder.depth > kDeepest)
            return ENAMETOOLONG;
        Error error = read_folder(session, folder.path, [&](const NamedEntry& entry) {
            if (!is_possible_name(entry.name))
                return;
            std::string child = folder.path + "/" + entry.name;
            if (entry_of(entry.name, entry.attributes).kind == EntryKind::kFolder)
                to_empty.push_back({std::move(child), folder.depth + 1});
            else
                removals.add(child, session.send_remove(child));
        });
        if (!error)
            error = removals.wait_until_at_most(kMostInFlight);
        if (error)
            return error;
        emptied.push_back(folder.path);
    }
    for (; !emptied.empty(); emptied.pop_back()) {
        removals.add(emptied.back(), session.send_remove_folder(emptied.back()));
        if (Error error = removals.wait_until_at_most(kMostInFlight); error)
            return error;
    }
    return removals.wait_until_at_most(0);
}

}  // namespace relay_hub::engine::sftp
