#include "base/folder_handle.h"

#include <fcntl.h>

#include <cerrno>
#include <string_view>

#include "base/file_descriptor.h"

namespace relay_hub {
namespace {

// Never waits: what is no folder is refused before it is opened.
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC;

FolderHandle folder_of(FileDescriptor fd) {
    FolderHandle folder(fd ? fdopendir(fd.get()) : nullptr);
    if (folder)
        (void)fd.release();
    return folder;
}

}  // namespace

FolderHandle open_folder(const std::string& path) {
    return folder_of(FileDescriptor(open(path.c_str(), kFolderFlags)));
}

FolderHandle open_folder_at(int parent, const std::string& name) {
    return folder_of(FileDescriptor(openat(parent, name.c_str(), kFolderFlags | O_NOFOLLOW)));
}

int read_names(DIR* folder, std::vector<std::string>& names) {
    while (true) {
        errno = 0;
        const dirent* entry = readdir(folder);
        if (entry == nullptr)
            return errno;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
    }
}

int read_names(int folder, std::vector<std::string>& names) {
    const FolderHandle stream = open_folder_at(folder, ".");
    return stream ? read_names(stream.get(), names) : errno;
}

}  // namespace relay_hub
