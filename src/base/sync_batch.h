#pragma once
// What a job has written and must have on the disk before it says that it is finished. A few entries are
// synced one by one; from then on the new files wait for one sync of the whole file system, which costs about
// as much as the sync of a single file. Belongs to the job's worker.
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/file_descriptor.h"

namespace relay_hub {

// Whether a file must be on the disk when the call returns, or may be left to a SyncBatch.
enum class SyncTime { now, later };

// Brings the names in an open folder to the disk. 0 or errno; a file system that knows no sync of a folder is
// no failure.
int sync_folder(int folder);

// Flushes file systems as a whole, each of them once, for what was written before the first question. One
// thread at a time.
class WholeSyncs {
  public:
    // Whether the open file, and all else on its file system, is on the disk. Where a server or a program
    // holds the data, and where the flush failed, only the file's own sync can say so.
    bool cover(int fd);

  private:
    std::map<dev_t, bool> flushed_;
};

class SyncBatch {
  public:
    // Called with a file, or with a folder when no single file is to blame, and the errno.
    using FailureSink = std::function<void(const std::string& path, int error_number)>;

    // How the new file path is to be copied.
    [[nodiscard]] SyncTime time_for(const std::string& path);
    // An entry was made or replaced at path, and synced as far as it can be on its own.
    void add(const std::string& path);
    // A new file was made whose content waits for this batch.
    void add_unsynced(const std::string& path, std::uint64_t bytes);
    // So much waits that it should go to the disk before the job goes on.
    [[nodiscard]] bool is_full() const { return unsynced_bytes_ >= kFullBytes; }
    // Syncs everything added so far.
    void flush(const FailureSink& failure);

  private:
    // Small enough for a cancel to be served quickly after it.
    static constexpr std::uint64_t kFullBytes = std::uint64_t{16} * 1024 * 1024;
    static constexpr std::size_t kFewEntries = 16;

    // One file system that the job wrote to.
    struct Volume {
        FileDescriptor folder;           // any folder of it
        std::set<std::string> folders;   // whose names changed
        std::vector<std::string> files;  // not yet synced
        // syncfs brings everything to the disk; not so where a server or a program holds the data.
        bool whole = false;
    };

    // The volume of path's folder.
    Volume& volume_of(const std::string& path);
    static void flush_volume(Volume& volume, const FailureSink& failure);

    std::map<dev_t, Volume> volumes_;
    std::string last_folder_;
    Volume* last_volume_ = nullptr;  // that of last_folder_
    std::size_t entries_ = 0;
    std::uint64_t unsynced_bytes_ = 0;
};

}  // namespace relay_hub
