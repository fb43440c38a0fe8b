#include "base/file_descriptor.h"

#include <fcntl.h>
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

bool open_pipe(Pipe& pipe) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return false;
    pipe = {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    return true;
}

std::string path_of_descriptor(int fd) {
    return "/proc/self/fd/" + std::to_string(fd);
}

ssize_t read_some(int fd, void* data, std::size_t size) {
    return TEMP_FAILURE_RETRY(::read(fd, data, size));
}

std::size_t read_at_most(int fd, void* data, std::size_t size) {
    std::size_t done = 0;
    ssize_t count = 1;
    while (done < size && count > 0) {
        count = read_some(fd, static_cast<char*>(data) + done, size - done);
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return done;
}

int write_all(int fd, const void* data, std::size_t size) {
    const char* next = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = TEMP_FAILURE_RETRY(::write(fd, next, size));
        if (written <= 0)
            return written < 0 ? errno : EIO;
        next += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

}  // namespace relay_hub
