#pragma once
// A local folder read in two steps: all names in their order, then each entry's record, so that the first
// rows can be filled while later entries are still being looked at. One thread at a time.
#include <sys/stat.h>

#include <string>
#include <vector>

#include "base/folder_handle.h"
#include "base/non_copyable.h"

namespace relay_hub {

// One visible entry of a local folder.
struct FolderEntry {
    std::string name;
    struct stat status {};   // of the entry itself, links not followed
    bool is_folder = false;  // links followed
    bool vanished = false;   // its lstat failed; status is empty
};

class SortedFolder : NonCopyable {
  public:
    // Reads the names in natural order; those that begin with "." only if asked for, "." and ".." never.
    explicit SortedFolder(const std::string& path, bool with_hidden = false);

    // 0, or why the folder could not be opened or not be read to its end; it then has no names.
    [[nodiscard]] int error_number() const { return error_number_; }
    [[nodiscard]] std::size_t size() const { return names_.size(); }
    // Looks at an entry: one lstat beneath the folder's descriptor, and for a link one stat.
    [[nodiscard]] FolderEntry entry(std::size_t index);

  private:
    void read_names(bool with_hidden);

    FolderHandle folder_;
    std::string text_;                // all names, each ended by a zero byte
    std::vector<const char*> names_;  // in their order
    int error_number_ = 0;
};

}  // namespace relay_hub
