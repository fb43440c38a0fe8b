#include "util/tree_walk.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "base/file_descriptor.h"
#include "base/folder_handle.h"

namespace relay_hub {
namespace {

constexpr std::size_t kOpenFolders = 64;

struct Level {
    std::size_t path_length = 0;
    struct stat status {};
    FileDescriptor folder;  // empty for the outer ones of many levels: their entries go by path
    std::vector<std::string> names;
    std::size_t next = 0;
    int read_error = 0;
};

class Walk {
  public:
    Walk(const std::string& source, const WalkStep& step) : path_(source), step_(step) {}

    int run() {
        int result = visit(AT_FDCWD, path_.c_str());
        while (result == 0 && !levels_.empty())
            result = advance();
        return result;
    }

  private:
    int advance() {
        Level& level = levels_.back();
        path_.resize(level.path_length);
        if (level.next == level.names.size())
            return leave_folder();
        const std::string name = std::move(level.names[level.next++]);
        path_.append(path_.back() == '/' ? "" : "/").append(name);
        return level.folder ? visit(level.folder.get(), name.c_str()) : visit(AT_FDCWD, path_.c_str());
    }

    int leave_folder() {
        const Level left = std::move(levels_.back());
        levels_.pop_back();
        return left.read_error == 0
                   ? 0
                   : without_skip(step_({path_, left.status, FTW_DNR, left.read_error, true}));
    }

    int visit(int parent, const char* name) {
        struct stat status {};
        if (fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            const int error = errno;
            return without_skip(step_({path_, {}, FTW_NS, error, false}));
        }
        if (S_ISDIR(status.st_mode))
            return visit_folder(parent, name, status);
        return without_skip(step_({path_, status, S_ISLNK(status.st_mode) ? FTW_SL : FTW_F, 0, false}));
    }

    // The names are read first, so that what the step makes is not met again.
    int visit_folder(int parent, const char* name, const struct stat& status) {
        Level level;
        const FolderHandle folder = open_folder_at(parent, name);
        if (!folder) {
            const int error = errno;
            return without_skip(step_({path_, status, FTW_DNR, error, false}));
        }
        level.read_error = read_names(folder.get(), level.names);
        level.folder.reset(fcntl(dirfd(folder.get()), F_DUPFD_CLOEXEC, 0));
        level.path_length = path_.size();
        level.status = status;
        const int result = step_({path_, status, FTW_D, 0, false});
        if (result != 0)
            return without_skip(result);
        if (levels_.size() >= kOpenFolders)
            levels_[levels_.size() - kOpenFolders].folder.reset();
        levels_.push_back(std::move(level));
        return 0;
    }

    static int without_skip(int result) { return result == FTW_SKIP_SUBTREE ? 0 : result; }

    std::string path_;
    const WalkStep& step_;
    std::vector<Level> levels_;
};

}  // namespace

int walk_tree(const std::string& source, const WalkStep& step) {
    return Walk(source, step).run();
}

}  // namespace relay_hub
