#pragma once
// What the copy job does with one entry once it is decided that it is copied: files, links and folders, each
// with its attributes, and when what was written is on the disk. The job's worker only.
#include <sys/stat.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/sync_batch.h"
#include "util/job_state.h"

namespace relay_hub {

class EntryCopy {
  public:
    // Failures go to the job, whose state is looked at; both it and its counters must outlive this.
    explicit EntryCopy(__task_list* job) : job_(job) {}

    // replace: over the existing dst. Failures are noted in the job, which goes on.
    void copy_file(const std::string& src, const std::string& dst, bool replace);
    void copy_link(const std::string& src, const struct stat& record, const std::string& dst, bool replace,
                   bool to_folder);
    // False when the folder could not be made.
    bool make_folder(const std::string& src, const struct stat& record, const std::string& dst);
    // False when its content must not be copied: dst is no folder, or lies in the walked source root.
    bool merge_folder(const std::string& src, const struct stat& record, const std::string& dst,
                      const struct stat& root);
    // Gives the folders their attributes, once their content is there.
    void finish_folders();
    void put_on_disk();
    // Whether the folder is one that this job copies into, made or merged.
    [[nodiscard]] bool fills(const struct stat& folder) const;

  private:
    // A folder whose attributes wait. It is known again by device and inode.
    struct WaitingFolder {
        std::string src;
        std::string dst;
        struct stat record {};  // of src, before its content was read
        struct stat target {};
        bool existed = false;
    };

    void finish_folder(const WaitingFolder& folder);

    __task_list* job_;
    SyncBatch batch_;
    std::vector<WaitingFolder> waiting_folders_;
    std::set<std::pair<dev_t, ino_t>> target_folders_;
};

// Removes from the folder what killed runs left there.
void sweep_folder(const std::string& folder);

}  // namespace relay_hub
