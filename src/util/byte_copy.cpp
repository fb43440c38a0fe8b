#include "util/byte_copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>

#include "util/file_op_unit.h"

namespace relay_hub {
namespace {

constexpr std::size_t kBufferSize = std::size_t{128} * 1024;
// Write-back of a big file starts after each step, so that the sync at its end has little left to wait for.
constexpr off_t kWriteBackStep = off_t{8} * 1024 * 1024;
// What is left is waited for in pieces, with a look at the cancel test between them.
constexpr off_t kWaitStep = off_t{1} * 1024 * 1024;

ssize_t read_some(int fd, char* buffer, std::size_t size) {
    ssize_t count = 0;
    do {
        count = read(fd, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

// Keeps the device busy while a file grows.
class WriteBack {
  public:
    explicit WriteBack(int fd) : fd_(fd) {}

    // Called with the file's size so far. 0, or the errno of a write that the device refused.
    int advance(off_t size) {
        int error = 0;
        for (; error == 0 && size - started_ >= kWriteBackStep; started_ += kWriteBackStep)
            error = range(started_, kWriteBackStep, SYNC_FILE_RANGE_WRITE);
        return error;
    }

    // Waits for what was started.
    int finish(const CancelTest& cancel, bool* cancelled) {
        constexpr unsigned kWait =
            SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER;
        int error = 0;
        for (off_t at = 0; error == 0 && at < started_; at += kWaitStep) {
            *cancelled = cancel.cancelled();
            if (*cancelled)
                return 0;
            error = range(at, kWaitStep, kWait);
        }
        return error;
    }

    [[nodiscard]] bool used() const { return started_ > 0; }

  private:
    [[nodiscard]] int range(off_t at, off_t size, unsigned flags) const {
        if (sync_file_range(fd_, at, size, flags) == 0)
            return 0;
        // What is no plain file, or a file system without it, still has the sync at the end.
        const bool unsupported = errno == ESPIPE || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
        return unsupported ? 0 : errno;
    }

    int fd_;
    off_t started_ = 0;
};

CopyOutcome failed(int error_number) {
    CopyOutcome outcome;
    outcome.error_number = error_number;
    return outcome;
}

// A failed close is a failed write.
CopyOutcome fill_target(int source, FileDescriptor& target, const CancelTest& cancel, SyncTime sync_time) {
    CopyOutcome outcome = copy_content(source, target.get(), cancel, sync_time);
    const int close_error = target.close();
    if (outcome.error_number == 0)
        outcome.error_number = close_error;
    return outcome;
}

}  // namespace

// Never waits for a peer: a FIFO or terminal that slipped in fails at the seek or the first read.
FileDescriptor open_source(const std::string& path) {
    FileDescriptor source(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (source && lseek(source.get(), 0, SEEK_SET) != 0) {
        const int seek_error = errno;
        source.reset();
        errno = seek_error;
    }
    return source;
}

CopyOutcome copy_content(int source, int target, const CancelTest& cancel, SyncTime sync_time) {
    const auto buffer = std::make_unique_for_overwrite<char[]>(kBufferSize);
    WriteBack write_back(target);
    CopyOutcome outcome;
    while (true) {
        const ssize_t count = read_some(source, buffer.get(), kBufferSize);
        if (count < 0)
            return failed(errno);
        if (count == 0)
            break;
        outcome.cancelled = cancel.cancelled();
        if (outcome.cancelled)
            return outcome;
        int error = write_all(target, buffer.get(), static_cast<std::size_t>(count));
        outcome.bytes += static_cast<std::uint64_t>(count);
        if (error == 0)
            error = write_back.advance(static_cast<off_t>(outcome.bytes));
        if (error != 0)
            return failed(error);
    }
    outcome.error_number = write_back.finish(cancel, &outcome.cancelled);
    if (!outcome.complete())
        return outcome;
    if (sync_time == SyncTime::now || write_back.used()) {
        outcome.error_number = fsync(target) == 0 ? 0 : errno;
        outcome.synced = true;
    }
    return outcome;
}

CopyOutcome copy_new_file(const std::string& src, const std::string& dst, const CancelTest& cancel,
                          SyncTime sync_time) {
    const FileDescriptor source = open_source(src);
    if (!source)
        return failed(errno);
    FileDescriptor target(open(dst.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!target)
        return failed(errno);
    const CopyOutcome outcome = fill_target(source.get(), target, cancel, sync_time);
    if (outcome.error_number != 0)
        unlink(dst.c_str());
    return outcome;
}

}  // namespace relay_hub

int Gfile_copy_file(const std::string& src, const std::string& dst, Gfile_cancel_test cancel_fn,
                    void* cancel_arg) {
    const relay_hub::CopyOutcome outcome =
        relay_hub::copy_new_file(src, dst, {cancel_fn, cancel_arg}, relay_hub::SyncTime::now);
    if (outcome.error_number == 0)
        return 0;
    relay_hub::report_error(FILE_OP_LINE(710), outcome.error_number, dst);
    errno = outcome.error_number;
    return -1;
}

int low_copy_file(const char* src, const char* dst) {
    if (src == nullptr || dst == nullptr) {
        errno = EINVAL;
        std::perror("Source file or Destination file wrong!");
        return -1;
    }
    if (Gfile_copy_file(src, dst, nullptr, nullptr) != 0)
        return -1;
    if (duplicate_file_mode(src, dst) != 0 || duplicate_file_owner(src, dst) != 0)
        return -1;
    return 0;
}
