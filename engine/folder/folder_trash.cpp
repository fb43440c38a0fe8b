#include "engine/folder/folder_trash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/file_descriptor.h"
#include "base/plain_text.h"
#include "base/rename_without_replacing.h"
#include "base/trash_info.h"
#include "engine/names.h"

namespace relay_hub::engine {
namespace {

constexpr int kMostNamesTried = 10000;
constexpr std::size_t kLongestName = 200;

int make_own_folder(int parent, const std::string& name, FileDescriptor& folder) {
    if (mkdirat(parent, name.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        return errno;
    folder.reset(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder || fstat(folder.get(), &status) != 0)
        return errno;
    return status.st_uid == geteuid() ? 0 : EPERM;
}

struct TrashFolders {
    FileDescriptor files;
    FileDescriptor info;
};

int open_trash(int root, const std::string& name, TrashFolders& trash) {
    FileDescriptor top;
    if (const int error = make_own_folder(root, name, top); error != 0)
        return error;
    if (const int error = make_own_folder(top.get(), "files", trash.files); error != 0)
        return error;
    return make_own_folder(top.get(), "info", trash.info);
}

int write_info(int folder, const std::string& name, const std::string& text) {
    const FileDescriptor file(
        openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file)
        return errno;
    const int error = write_all(file.get(), text.data(), text.size());
    if (error != 0)
        (void)unlinkat(folder, name.c_str(), 0);
    return error;
}

// EEXIST when either folder of the trash has the name already. The info file is made first: it reserves the
// name for this item.
int move_as(const TrashFolders& trash, int parent, const std::string& name, const std::string& trashed_name,
            const std::string& text) {
    const std::string info_name = trashed_name + kTrashInfoSuffix;
    int error = write_info(trash.info.get(), info_name, text);
    if (error != 0)
        return error;
    error = rename_without_replacing(parent, name, trash.files.get(), trashed_name);
    if (error != 0)
        (void)unlinkat(trash.info.get(), info_name.c_str(), 0);
    return error;
}

}  // namespace

int trash_item(int root, int parent, const std::string& path) {
    const std::string trash_name = ".Trash-" + std::to_string(geteuid());
    // The trash cannot go into itself, and what is in it is trashed already.
    if (path == trash_name || path.starts_with(trash_name + "/"))
        return EINVAL;
    TrashFolders trash;
    if (const int error = open_trash(root, trash_name, trash); error != 0)
        return error;
    const std::string name = base_name(path);
    // Nothing is reserved for an item that is not there.
    struct stat status {};
    if (fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    // Room for the number and the suffix.
    const std::string kept_name = name.size() > kLongestName ? presentable(name, kLongestName) : name;
    const std::string text = trash_info(path);
    int error = EEXIST;
    for (int number = 1; error == EEXIST && number <= kMostNamesTried; ++number) {
        const std::string trashed_name = numbered_name(kept_name, number);
        error = move_as(trash, parent, name, trashed_name, text);
    }
    return error;
}

}  // namespace relay_hub::engine
