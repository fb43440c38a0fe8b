#pragma once
// The file that takes new content before it has its final name: in the same folder, private, and locked while
// it is in use, so that one left behind by a killed run can be distinguished from one in use. Both programs
// make and sweep them. One thread at a time.
#include <string>
#include <string_view>
#include <vector>

#include "base/file_descriptor.h"

namespace relay_hub {

// A fresh name ".relay-hub-<16 letters and digits>.part", and whether a name is one (8 were used before).
std::string temporary_name();
bool is_temporary_name(std::string_view name);

class TemporaryFile {
  public:
    // An empty file, 0600, in the open folder, which is borrowed and must stay open as long as this object
    // lives. valid() is false, with errno set, when that fails.
    static TemporaryFile create(int folder);
    // The same without any name, where the file system can do that: nothing is left behind then whatever
    // happens. For take_free_name only.
    static TemporaryFile create_nameless(int folder);

    TemporaryFile() = default;
    TemporaryFile(TemporaryFile&& other) noexcept { *this = std::move(other); }
    // They are swapped: what this was is removed with other.
    TemporaryFile& operator=(TemporaryFile&& other) noexcept;
    // Removes the file unless it took a name.
    ~TemporaryFile() { remove(); }

    [[nodiscard]] bool valid() const { return static_cast<bool>(fd_); }
    [[nodiscard]] int fd() const { return fd_.get(); }
    // Passes on what closing it would report, and keeps it open and locked. 0 or errno.
    [[nodiscard]] int flush() const;
    // Renames it over the entry target of the folder, or to a name that nobody has (EEXIST). 0, or errno with
    // what stood there as it was. The content must be on the disk before.
    int replace(const std::string& target);
    int take_free_name(const std::string& target);
    // 0 or errno.
    int close() { return fd_.close(); }

  private:
    TemporaryFile(int folder, std::string name, FileDescriptor fd);
    void remove();
    // For a file system that makes files without a name but cannot give them one.
    int move_to_named_file();

    int folder_ = -1;
    std::string name_;  // empty for a file without a name, and once it has its final one
    FileDescriptor fd_;
};

// Puts a symbolic link with the given text under the name, over what stands there or, without replace, only
// where nothing does (EEXIST). times: access and modification, or null for now. 0, or errno with the name as
// it was.
int place_link(int folder, const std::string& name, const std::string& text, bool replace,
               const struct timespec* times);

// Removes from the open folder the temporary files and links that killed runs left there; files in use by a
// living run stay. The second form looks at these names alone.
void sweep_temporary_files(int folder);
void sweep_temporary_files(int folder, const std::vector<std::string>& names);

}  // namespace relay_hub
