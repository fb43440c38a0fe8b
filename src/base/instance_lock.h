#pragma once
// One running program of a kind for each user: a locked file in the user's runtime directory. The lock is
// held as long as the object lives and goes with the process. One thread.
#include <string>

#include "base/file_descriptor.h"

namespace relay_hub {

class InstanceLock {
  public:
    enum class Result { taken, held_by_another, failed };

    // name: of the lock file, without a folder. On failure error() and path() say what failed where.
    explicit InstanceLock(const std::string& name) : error_(take(name)) {}

    [[nodiscard]] Result result() const;
    [[nodiscard]] int error() const { return error_; }
    [[nodiscard]] const std::string& path() const { return path_; }

  private:
    int take(const std::string& name);

    FileDescriptor file_;
    std::string path_;
    int error_;  // of the last step; after the members that the steps fill
};

}  // namespace relay_hub
