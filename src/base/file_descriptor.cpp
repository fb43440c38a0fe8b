#include "base/file_descriptor.h"

#include <unistd.h>

#include <cerrno>

namespace relay_hub {

void FileDescriptor::reset(int fd) {
    (void)close();
    fd_ = fd;
}

int FileDescriptor::close() {
    const int fd = release();
    if (fd < 0)
        return 0;
    // Never retried on EINTR: the number is already free and may belong to another thread.
    if (::close(fd) == 0 || errno == EINTR)
        return 0;
    return errno;
}

int write_all(int fd, const void* data, std::size_t size) {
    const char* next = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = ::write(fd, next, size);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (written == 0)
            return EIO;
        next += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

}  // namespace relay_hub
