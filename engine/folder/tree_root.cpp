#include "engine/folder/tree_root.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "engine/names.h"

namespace relay_hub::engine {
namespace {

// Longer paths are opened in stretches of this length.
constexpr std::size_t kStretch = 3500;
// Of folders that are kept open, in bytes of their paths, and how many there are at most.
constexpr std::size_t kSpacing = 1024;
constexpr std::size_t kMostKept = 48;
constexpr int kBusyTreeRetries = 32;

int open_beneath(int base, const char* path, int flags) {
    open_how how{};
    how.flags = static_cast<std::uint64_t>(flags);
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    for (int attempt = 0;; ++attempt) {
        const long fd = syscall(SYS_openat2, base, path, &how, sizeof how);
        const bool again = fd < 0 && (errno == EINTR || (errno == EAGAIN && attempt < kBusyTreeRetries));
        if (!again)
            return static_cast<int>(fd);
    }
}

// For kernels and sandboxes without openat2: no link is followed at all.
int open_without_links(int base, const std::string& path, int flags) {
    FileDescriptor current;
    int folder = base;
    std::size_t start = 0;
    while (true) {
        const std::size_t slash = path.find('/', start);
        const std::string component = path.substr(start, slash - start);
        if (component == "..") {
            errno = EXDEV;
            return -1;
        }
        const bool last = slash == std::string::npos;
        const int step = last ? flags | O_NOFOLLOW : O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
        const int fd = ::openat(folder, component.c_str(), step);
        if (fd < 0 || last)
            return fd;
        current.reset(fd);
        folder = fd;
        start = slash + 1;
    }
}

}  // namespace

TreeRoot TreeRoot::another() const {
    return {FileDescriptor(fcntl(root_.get(), F_DUPFD_CLOEXEC, 0)), reach_};
}

int TreeRoot::open_step(int base, const std::string& path, int flags) const {
    if (reach_ == Reach::kWholeMachine)
        return ::openat(base, path.c_str(), flags);
    const int fd = open_beneath(base, path.c_str(), flags);
    // Old kernels do not know the call, some sandboxes forbid it.
    return fd < 0 && (errno == ENOSYS || errno == EPERM) ? open_without_links(base, path, flags) : fd;
}

int TreeRoot::open_from(int base, std::string remaining, int flags, FileDescriptor& opened) const {
    FileDescriptor stretch;
    while (remaining.size() > kStretch) {
        const std::size_t slash = remaining.rfind('/', kStretch);
        if (slash == std::string::npos)
            return ENAMETOOLONG;
        const int fd = open_step(stretch ? stretch.get() : base, remaining.substr(0, slash),
                                 O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0)
            return errno;
        stretch.reset(fd);
        remaining.erase(0, slash + 1);
    }
    opened.reset(
        open_step(stretch ? stretch.get() : base, remaining.empty() ? "." : remaining, flags | O_CLOEXEC));
    return opened ? 0 : errno;
}

std::size_t TreeRoot::kept_above(const std::string& path) const {
    std::size_t count = kept_.size();
    for (; count > 0; --count) {
        const std::size_t length = kept_[count - 1].length;
        const bool ends_there = path.size() == length || (path.size() > length && path[length] == '/');
        if (ends_there && path.compare(0, length, kept_path_, 0, length) == 0)
            break;
    }
    return count;
}

void TreeRoot::keep(const std::string& path, SharedFolder folder) const {
    kept_.resize(kept_above(path));
    kept_path_ = path;
    // The one above is near enough to those above it to be done without.
    if (kept_.size() >= 2 && path.size() - kept_[kept_.size() - 2].length < kSpacing)
        kept_.pop_back();
    if (kept_.size() >= kMostKept) {
        for (std::size_t i = 1; i < kept_.size(); ++i)
            kept_.erase(kept_.begin() + static_cast<std::ptrdiff_t>(i));
    }
    kept_.push_back({path.size(), std::move(folder)});
}

int TreeRoot::open(const std::string& path, int flags, FileDescriptor& opened) const {
    if (const std::size_t count = kept_above(path); count > 0) {
        const KeptFolder& above = kept_[count - 1];
        const int error = open_from(above.folder->get(), path.substr(std::min(path.size(), above.length + 1)),
                                    flags, opened);
        // A link may lead out of that folder, and yet not out of the tree.
        if (error != EXDEV && error != ELOOP)
            return error;
    }
    return open_from(root_.get(), path, flags, opened);
}

int TreeRoot::open_folder(const std::string& path, SharedFolder& folder) const {
    const std::size_t count = kept_above(path);
    if (count > 0 && kept_[count - 1].length == path.size()) {
        folder = kept_[count - 1].folder;
        return 0;
    }
    FileDescriptor opened;
    if (const int error = open(path, O_PATH | O_DIRECTORY, opened); error != 0)
        return error;
    folder = std::make_shared<const FileDescriptor>(std::move(opened));
    if (keeps_folders_)
        keep(path, folder);
    return 0;
}

int TreeRoot::open_parent(const std::string& path, SharedFolder& parent, std::string& name) const {
    if (path.empty())
        return EBUSY;
    name = base_name(path);
    return open_folder(parent_path(path), parent);
}

void TreeRoot::keep_folders(bool keep) {
    keeps_folders_ = keep;
    kept_.clear();
    kept_path_.clear();
}

}  // namespace relay_hub::engine
