#pragma once
// The owner of an open folder.
#include <dirent.h>
#include <fcntl.h>

#include <memory>
#include <string>

#include "base/file_descriptor.h"

namespace relay_hub {

struct FolderClose {
    void operator()(DIR* folder) const { closedir(folder); }
};
using FolderHandle = std::unique_ptr<DIR, FolderClose>;

// Opens a folder for reading its names. Null with errno set on failure.
inline FolderHandle open_folder(const std::string& path) {
    FileDescriptor fd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    FolderHandle folder(fd ? fdopendir(fd.get()) : nullptr);
    if (folder)
        (void)fd.release();
    return folder;
}

}  // namespace relay_hub
