#pragma once
// Opens paths below one folder without ever leaving it: neither "..", nor a link, nor a mount of /proc leads
// out.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/file_descriptor.h"

namespace relay_hub::engine {

// kBeneath keeps every path inside the folder. kWholeMachine is for the folder "/": links lead where they
// lead, as for any program of this user.
enum class Reach { kBeneath, kWholeMachine };

// An open folder, kept as long as somebody uses it.
using SharedFolder = std::shared_ptr<const FileDescriptor>;

class TreeRoot {
  public:
    TreeRoot(FileDescriptor root, Reach reach) : root_(std::move(root)), reach_(reach) {}
    // The same root for another thread.
    [[nodiscard]] TreeRoot another() const;

    // openat() below the root, close-on-exec. 0 or errno; EXDEV for a path that leads out.
    int open(const std::string& path, int flags, FileDescriptor& opened) const;
    // A folder, for the *at() calls.
    int open_folder(const std::string& path, SharedFolder& folder) const;
    // The folder that holds path, for the *at() calls, and the last component. EBUSY for the root itself.
    int open_parent(const std::string& path, SharedFolder& parent, std::string& name) const;
    // Between true and false folders that these two opened are used again for what lies in or below them,
    // so that the cost of a path does not grow with its length. Takes some dozen descriptors at most.
    void keep_folders(bool keep);

  private:
    struct KeptFolder {
        std::size_t length;  // its path is that much of kept_path_
        SharedFolder folder;
    };

    [[nodiscard]] int open_step(int base, const std::string& path, int flags) const;
    [[nodiscard]] int open_from(int base, std::string remaining, int flags, FileDescriptor& opened) const;
    // The number of kept folders that path lies in or is.
    [[nodiscard]] std::size_t kept_above(const std::string& path) const;
    void keep(const std::string& path, SharedFolder folder) const;

    FileDescriptor root_;
    Reach reach_;
    bool keeps_folders_ = false;
    mutable std::string kept_path_;
    mutable std::vector<KeptFolder> kept_;  // each below the one before
};

}  // namespace relay_hub::engine
