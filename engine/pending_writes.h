#pragma once
// What a copy has written but not finished: files without their final names, flushed together, and folders
// that get their modes and times after what goes into them. One copy, one thread; the tree must outlive it.
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "engine/remote_file_system.h"

namespace relay_hub::engine {

// Its owner can write in it until it is filled. The rest is final, for a copy may end before the folder's
// turn comes, as with a lost link.
mode_t mode_to_fill(const Entry& folder);
// Whether that is its final mode.
bool is_filled_as_it_is(const Entry& folder);

class PendingWrites {
  public:
    // Called with what failed: where a file came from and went to, or a folder of the target; of what is
    // there without its mode or times the path at the target.
    struct FailureSink {
        std::function<void(const std::string& source, const std::string& target, const Error& error)> file;
        std::function<void(const std::string& folder, const Error& error)> folder;
        std::function<void(const std::string& path, const Error& error)> attributes;
    };

    PendingWrites(RemoteFileSystem& target, FailureSink failed);

    void add_file(std::unique_ptr<FileSink> sink, const std::string& source, const std::string& target_folder,
                  std::uint64_t size);
    // A folder that was made, with all in it added before.
    void add_made_folder(const std::string& folder, const Entry& entry);
    // Something got its name in the folder.
    void add_touched(const std::string& folder);
    // Something that belongs into the folder is not there because of the error.
    void add_missing(const std::string& folder, const Error& error);
    // Whether a file waits for its name in the folder.
    [[nodiscard]] bool waits_in(const std::string& folder) const;
    // Gives every file its name.
    void publish();
    // Puts all of it on the disk.
    void finish();
    [[nodiscard]] bool anything_done() const { return anything_done_; }

  private:
    struct File {
        std::string source;
        std::string target_folder;
        std::uint64_t size;
    };
    void commit(bool all);
    void settle();
    // Modes and times of the made folders.
    void complete_folders();

    RemoteFileSystem& target_;
    FailureSink failed_;
    std::size_t most_files_;
    std::vector<std::unique_ptr<FileSink>> sinks_;
    std::vector<File> files_;  // of each sink
    std::uint64_t waiting_bytes_ = 0;
    std::vector<FolderAttributes> made_folders_;  // inner ones first
    std::map<std::string, Error> missing_in_;     // of folders that a repeat can complete
    std::set<std::string> touched_;
    std::size_t path_bytes_ = 0;  // of all three
    bool settling_ = false;
    bool anything_done_ = false;
};

}  // namespace relay_hub::engine
