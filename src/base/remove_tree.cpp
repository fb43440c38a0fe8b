#include "base/remove_tree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "base/file_descriptor.h"
#include "base/folder_handle.h"

namespace relay_hub {
namespace {

// The innermost ones stay open; an outer one is opened again from the folder in it.
constexpr std::size_t kOpenFolders = 64;
constexpr int kFolderFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// A folder whose content is being removed.
struct Level {
    std::string name;
    FileDescriptor folder;
    dev_t device = 0;
    ino_t inode = 0;
    std::vector<std::string> names;  // still to be removed; the last one is next
};

class TreeRemoval {
  public:
    TreeRemoval(int parent, FolderRights rights) : parent_(parent), rights_(rights) {}

    int run(const std::string& name) {
        int error = remove_entry(name);
        while (error == 0 && !levels_.empty()) {
            std::vector<std::string>& names = levels_.back().names;
            if (names.empty()) {
                error = leave_folder();
                continue;
            }
            const std::string next = std::move(names.back());
            names.pop_back();
            error = remove_entry(next);
            if (error == ENOENT)
                error = 0;
        }
        return error;
    }

    [[nodiscard]] std::string failed_path() const {
        std::string path;
        for (const Level& level : levels_)
            path.append(level.name).push_back('/');
        return path + failed_name_;
    }

  private:
    [[nodiscard]] int current() const { return levels_.empty() ? parent_ : levels_.back().folder.get(); }

    // A folder is not gone after it, but the new innermost level.
    int remove_entry(const std::string& name) {
        failed_name_ = name;
        if (unlinkat(current(), name.c_str(), 0) == 0)
            return 0;
        const int unlink_error = errno;
        if (unlink_error != EISDIR && unlink_error != EPERM)
            return unlink_error;
        const int error = enter_folder(name);
        return error == ENOTDIR || error == ELOOP ? unlink_error : error;
    }

    int enter_folder(const std::string& name) {
        Level level;
        level.name = name;
        level.folder.reset(openat(current(), name.c_str(), kFolderFlags));
        struct stat status {};
        if (!level.folder || fstat(level.folder.get(), &status) != 0)
            return errno;
        level.device = status.st_dev;
        level.inode = status.st_ino;
        if (rights_ == FolderRights::widen && (status.st_mode & S_IRWXU) != S_IRWXU)
            (void)chmod(path_of_descriptor(level.folder.get()).c_str(), S_IRWXU);
        if (const int error = read_names(level.folder.get(), level.names); error != 0)
            return error;
        if (levels_.size() >= kOpenFolders)
            levels_[levels_.size() - kOpenFolders].folder.reset();
        levels_.push_back(std::move(level));
        return 0;
    }

    int leave_folder() {
        const Level emptied = std::move(levels_.back());
        levels_.pop_back();
        failed_name_ = emptied.name;
        if (const int error = levels_.empty() ? 0 : open_again(levels_.back(), emptied); error != 0)
            return error;
        const bool removed = unlinkat(current(), emptied.name.c_str(), AT_REMOVEDIR) == 0;
        return removed || errno == ENOENT ? 0 : errno;
    }

    static int open_again(Level& outer, const Level& inner) {
        if (outer.folder)
            return 0;
        FileDescriptor above(openat(inner.folder.get(), "..", kFolderFlags));
        struct stat status {};
        if (!above || fstat(above.get(), &status) != 0)
            return errno;
        // Somebody moved the folder away meanwhile.
        if (status.st_dev != outer.device || status.st_ino != outer.inode)
            return ESTALE;
        outer.folder = std::move(above);
        return 0;
    }

    int parent_;
    FolderRights rights_;
    std::vector<Level> levels_;
    std::string failed_name_;
};

}  // namespace

int remove_tree(int parent, const std::string& name, FolderRights rights, std::string* failed) {
    TreeRemoval removal(parent, rights);
    const int error = removal.run(name);
    if (error != 0 && failed != nullptr)
        *failed = removal.failed_path();
    return error;
}

}  // namespace relay_hub
