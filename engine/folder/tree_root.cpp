#include "engine/folder/tree_root.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "engine/names.h"

namespace relay_hub::engine {
namespace {

// Longer paths are opened in stretches of this length.
constexpr std::size_t kStretch = 3500;
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

int TreeRoot::open_step(int base, const std::string& path, int flags) const {
    if (reach_ == Reach::kWholeMachine)
        return ::openat(base, path.c_str(), flags);
    static const bool has_openat2 = [] {
        const FileDescriptor probe(open_beneath(AT_FDCWD, ".", O_PATH | O_CLOEXEC));
        return probe || (errno != ENOSYS && errno != EPERM);
    }();
    return has_openat2 ? open_beneath(base, path.c_str(), flags) : open_without_links(base, path, flags);
}

int TreeRoot::open(const std::string& path, int flags, FileDescriptor& opened) const {
    std::string rest = path.empty() ? "." : path;
    FileDescriptor stretch;
    while (rest.size() > kStretch) {
        const std::size_t slash = rest.rfind('/', kStretch);
        if (slash == std::string::npos)
            return ENAMETOOLONG;
        const int base = stretch ? stretch.get() : root_.get();
        const int fd = open_step(base, rest.substr(0, slash), O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0)
            return errno;
        stretch.reset(fd);
        rest.erase(0, slash + 1);
    }
    opened.reset(open_step(stretch ? stretch.get() : root_.get(), rest, flags | O_CLOEXEC));
    return opened ? 0 : errno;
}

int TreeRoot::open_parent(const std::string& path, SharedFolder& parent, std::string& name) const {
    if (path.empty())
        return EBUSY;
    name = base_name(path);
    std::string folder_path = parent_path(path);
    if (parent_ && folder_path == parent_path_) {
        parent = parent_;
        return 0;
    }
    FileDescriptor folder;
    if (const int error = open(folder_path, O_PATH | O_DIRECTORY, folder); error != 0)
        return error;
    parent = std::make_shared<const FileDescriptor>(std::move(folder));
    if (keeps_parent_) {
        parent_ = parent;
        parent_path_ = std::move(folder_path);
    }
    return 0;
}

void TreeRoot::keep_parent(bool keep) {
    keeps_parent_ = keep;
    parent_.reset();
}

}  // namespace relay_hub::engine
