#pragma once
// Opens paths below one folder without ever leaving it: neither "..", nor a link, nor a mount of /proc leads
// out.
#include <memory>
#include <string>
#include <utility>

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

    // openat() below the root, close-on-exec. 0 or errno; EXDEV for a path that leads out.
    int open(const std::string& path, int flags, FileDescriptor& opened) const;
    // The folder that holds path, for the *at() calls, and the last component. EBUSY for the root itself.
    int open_parent(const std::string& path, SharedFolder& parent, std::string& name) const;
    // Whether the last folder that open_parent() opened is used again while the same one is asked for.
    void keep_parent(bool keep);

  private:
    [[nodiscard]] int open_step(int base, const std::string& path, int flags) const;

    FileDescriptor root_;
    Reach reach_;
    bool keeps_parent_ = false;
    mutable std::string parent_path_;
    mutable SharedFolder parent_;  // null: none is kept
};

}  // namespace relay_hub::engine
