#pragma once
// Opens paths below one folder without ever leaving it: neither "..", nor a link, nor a mount of /proc leads
// out. Thread-safe after open().
#include <string>

#include "name_pipe/file_descriptor.h"

namespace relay_hub::engine {

// kBeneath keeps every path inside the folder. kWholeMachine is for the folder "/": links lead where they
// lead, as for any program of this user.
enum class Reach { kBeneath, kWholeMachine };

class TreeRoot {
  public:
    TreeRoot(FileDescriptor root, Reach reach) : root_(std::move(root)), reach_(reach) {}

    // openat() below the root, close-on-exec. 0 or errno; EXDEV for a path that leads out.
    int open(const std::string& path, int flags, FileDescriptor& opened) const;
    // The folder that holds path, for the *at() calls, and the last component. EBUSY for the root itself.
    int open_parent(const std::string& path, FileDescriptor& parent, std::string& name) const;

  private:
    [[nodiscard]] int open_step(int base, const std::string& path, int flags) const;

    FileDescriptor root_;
    Reach reach_;
};

}  // namespace relay_hub::engine
