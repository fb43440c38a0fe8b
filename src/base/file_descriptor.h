#pragma once
// The owner of a descriptor: closes it once, moves, never copies. Not thread-safe.
#include <sys/types.h>

#include <cstddef>
#include <string>
#include <utility>

namespace relay_hub {

class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const { return fd_; }
    [[nodiscard]] explicit operator bool() const { return fd_ >= 0; }
    // Gives the descriptor away; the caller closes it.
    [[nodiscard]] int release() { return std::exchange(fd_, -1); }
    // Closes what is held and takes fd. A failed close is ignored here: use close() where it matters.
    void reset(int fd = -1);
    // Closes now. 0, or the errno of the failed close (the descriptor is gone either way).
    int close();

  private:
    int fd_ = -1;
};

struct Pipe {
    FileDescriptor read_end;
    FileDescriptor write_end;
};

// Makes a pipe whose ends close on exec. False, with errno set, when that fails.
bool open_pipe(Pipe& pipe);
// A path that leads to what is open, for calls that take no descriptor: whatever stands under its name now.
std::string path_of_descriptor(int fd);
// read() through EINTR.
ssize_t read_some(int fd, void* data, std::size_t size);
// How many of at most size bytes could be read until the end or a failure.
std::size_t read_at_most(int fd, void* data, std::size_t size);
// Writes all bytes, through short writes and EINTR. 0, or the errno of the write that failed.
int write_all(int fd, const void* data, std::size_t size);

}  // namespace relay_hub
