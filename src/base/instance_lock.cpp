#include "base/instance_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace relay_hub {
namespace {

// Only a folder of this user where nobody else can put a file will do. 0 or errno.
int open_own_folder(const std::string& path, FileDescriptor& folder) {
    folder.reset(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder || ::fstat(folder.get(), &status) != 0)
        return errno;
    return status.st_uid == ::geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0 ? 0 : EPERM;
}

// The user's runtime directory. Where there is none, or another user's as after sudo, a folder under /tmp.
int open_runtime_folder(std::string& path, FileDescriptor& folder) {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    path = runtime != nullptr ? runtime : "";
    if (path.starts_with('/') && open_own_folder(path, folder) == 0)
        return 0;
    path = "/tmp/relay-hub-" + std::to_string(::geteuid());
    if (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        return errno;
    return open_own_folder(path, folder);
}

}  // namespace

InstanceLock::Result InstanceLock::result() const {
    return error_ == 0 ? Result::taken : error_ == EWOULDBLOCK ? Result::held_by_another : Result::failed;
}

int InstanceLock::take(const std::string& name) {
    FileDescriptor folder;
    if (const int error = open_runtime_folder(path_, folder); error != 0)
        return error;
    path_ += "/" + name;
    file_.reset(::openat(folder.get(), name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY,
                         S_IRUSR | S_IWUSR));
    if (!file_)
        return errno;
    return TEMP_FAILURE_RETRY(::flock(file_.get(), LOCK_EX | LOCK_NB)) == 0 ? 0 : errno;
}

}  // namespace relay_hub
