#pragma once
// The file under which new content is written before it takes the name of an old one: beside it, private,
// and locked while it is in use, so that one left behind by a killed run can be told from a living one.
#include <string>

#include "base/file_descriptor.h"

namespace relay_hub {

class TemporaryFile {
  public:
    // Makes one in the folder of path. valid() is false, with errno set, when that fails.
    static TemporaryFile beside(const std::string& path);

    TemporaryFile(TemporaryFile&&) = default;
    TemporaryFile& operator=(TemporaryFile&&) = delete;
    ~TemporaryFile();

    [[nodiscard]] bool valid() const { return static_cast<bool>(fd_); }
    [[nodiscard]] int fd() const { return fd_.get(); }
    [[nodiscard]] const std::string& path() const { return path_; }
    // Passes on what closing it would report, and keeps it open and locked. 0 or errno.
    [[nodiscard]] int flush() const;
    // Renames it over target, which may be an empty folder. 0, or errno with target as it was.
    int take_name(const std::string& target);

  private:
    TemporaryFile(std::string path, FileDescriptor fd);

    std::string path_;  // empty once the file has its final name
    FileDescriptor fd_;
};

// A free name ".relay-hub-XXXXXXXX.part" in the folder of path.
std::string temporary_path_beside(const std::string& path);
bool is_temporary_name(const std::string& name);
// Removes the temporary files that killed runs left in the folder; those in use by a living run stay.
void sweep_temporary_files(const std::string& folder);

}  // namespace relay_hub
