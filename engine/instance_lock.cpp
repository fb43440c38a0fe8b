#include "engine/instance_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "base/diagnostics.h"

namespace relay_hub::engine {
namespace {

constexpr char kLockName[] = "relay-hub-engine.lock";

// Only a folder of this user where nobody else can put a file will do.
int open_own_folder(const std::string& path, FileDescriptor& folder) {
    folder.reset(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder || fstat(folder.get(), &status) != 0)
        return errno;
    return status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0 ? 0 : EPERM;
}

// The user's runtime directory. Where there is none, or another user's as after sudo, a folder under /tmp.
int open_runtime_folder(std::string& path, FileDescriptor& folder) {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    path = runtime != nullptr ? runtime : "";
    if (path.starts_with('/') && open_own_folder(path, folder) == 0)
        return 0;
    path = "/tmp/relay-hub-" + std::to_string(geteuid());
    if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        return errno;
    return open_own_folder(path, folder);
}

}  // namespace

bool InstanceLock::take(std::string& why) {
    std::string path;
    FileDescriptor folder;
    if (const int error = open_runtime_folder(path, folder); error != 0) {
        why = path + ": " + error_text(error);
        return false;
    }
    file_.reset(
        openat(folder.get(), kLockName, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    path = path + "/" + kLockName;
    if (!file_) {
        why = path + ": " + error_text(errno);
        return false;
    }
    if (flock(file_.get(), LOCK_EX | LOCK_NB) == 0)
        return true;
    why = errno == EWOULDBLOCK ? "another engine of this user is running (it holds " + path + ")"
                               : path + ": " + error_text(errno);
    file_.reset();
    return false;
}

}  // namespace relay_hub::engine
