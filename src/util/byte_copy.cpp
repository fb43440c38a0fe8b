#include "util/byte_copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>

#include "base/file_attributes.h"
#include "util/file_identity.h"
#include "util/file_op_unit.h"

namespace relay_hub {
namespace {

constexpr std::size_t kBufferSize = std::size_t{128} * 1024;
// Write-back of a big file starts after each step, so that the sync at its end has little left to wait for.
constexpr off_t kWriteBackStep = off_t{8} * 1024 * 1024;
// What is left is waited for in pieces, with a look at the cancel test between them.
constexpr off_t kWaitStep = off_t{1} * 1024 * 1024;

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

// Leads a copy past the holes of a sparse source.
class DataRuns {
  public:
    explicit DataRuns(int source) : source_(source) {
        struct stat status {};
        constexpr off_t kBlock = 512;
        if (fstat(source, &status) == 0 && S_ISREG(status.st_mode) &&
            status.st_blocks < status.st_size / kBlock)
            end_ = 0;
    }

    // Where the data at or after `at` begins: both descriptors stand there then. *limit is how much may be
    // read at once; 0 when only a hole is left, which target then has. 0 or errno.
    int find(int target, off_t& at, std::size_t* limit) {
        if (at >= end_) {
            const off_t data = lseek(source_, at, SEEK_DATA);
            if (data < 0 && errno == ENXIO)
                return end_with_hole(target, at, limit);
            const off_t hole = data < 0 ? -1 : lseek(source_, data, SEEK_HOLE);
            end_ = hole < 0 ? kNoEnd : hole;
            at = std::max(at, data);
            if (lseek(source_, at, SEEK_SET) < 0 || lseek(target, at, SEEK_SET) < 0)
                return errno;
        }
        *limit = static_cast<std::size_t>(std::min<off_t>(end_ - at, kBufferSize));
        return 0;
    }

  private:
    int end_with_hole(int target, off_t at, std::size_t* limit) const {
        *limit = 0;
        const off_t end = lseek(source_, 0, SEEK_END);
        return end <= at || ftruncate(target, end) == 0 ? 0 : errno;
    }

    static constexpr off_t kNoEnd = std::numeric_limits<off_t>::max();

    int source_;
    off_t end_ = kNoEnd;  // of the data that is being read
};

// Attributes, the disk, and the close: what fails there is a failed copy.
void finish_target(int source, const struct stat& record, FileDescriptor& target, NewFile options,
                   CopyOutcome& outcome) {
    if (outcome.error_number == 0 && options.take_attributes)
        outcome.error_number = copy_attributes(source, record, target.get(), TargetAge::fresh);
    if (outcome.complete() && (options.sync_time == SyncTime::now || outcome.write_back_began)) {
        outcome.error_number = fsync(target.get()) == 0 ? 0 : errno;
        outcome.synced = true;
    }
    const int close_error = target.close();
    if (outcome.error_number == 0)
        outcome.error_number = close_error;
}

// Under the name of a failed copy something else may stand by now.
void remove_failed(const std::string& dst, const struct stat& made) {
    struct stat now {};
    if (lstat(dst.c_str(), &now) == 0 && is_same_entry(now, made))
        (void)unlink(dst.c_str());
}

}  // namespace

// Never waits for a peer: a FIFO or device that slipped in is opened without waiting, and refused.
FileDescriptor open_source(const std::string& path) {
    FileDescriptor source(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    const bool failed_look = source && fstat(source.get(), &status) != 0;
    const int error = failed_look ? errno : ENOTSUP;
    if (source && !S_ISREG(status.st_mode)) {
        source.reset();
        errno = error;
    }
    return source;
}

CopyOutcome copy_content(int source, int target, const CancelTest& cancel, const CopyWatch& watch) {
    const auto buffer = std::make_unique_for_overwrite<char[]>(kBufferSize);
    WriteBack write_back(target);
    DataRuns runs(source);
    CopyOutcome outcome;
    struct stat before {};
    struct stat after {};
    if (fstat(source, &before) != 0)
        return {.error_number = errno};
    off_t at = 0;
    while (true) {
        std::size_t limit = 0;
        int error = runs.find(target, at, &limit);
        const ssize_t count = error == 0 && limit > 0 ? read_some(source, buffer.get(), limit) : 0;
        if (error != 0 || count < 0)
            return {.error_number = error != 0 ? error : errno};
        if (count == 0)
            break;
        outcome.cancelled = cancel.cancelled();
        if (outcome.cancelled)
            return outcome;
        error = write_all(target, buffer.get(), static_cast<std::size_t>(count));
        at += count;
        outcome.bytes += static_cast<std::uint64_t>(count);
        if (error == 0)
            error = write_back.advance(at);
        if (error != 0)
            return {.error_number = error};
        if (watch)
            watch(static_cast<std::uint64_t>(at));
    }
    outcome.error_number = write_back.finish(cancel, &outcome.cancelled);
    if (outcome.complete() && (fstat(source, &after) != 0 || !has_same_content(before, after)))
        outcome.error_number = ESTALE;
    outcome.write_back_began = write_back.used();
    return outcome;
}

CopyOutcome copy_new_file(const std::string& src, const std::string& dst, const CancelTest& cancel,
                          NewFile options, const CopyWatch& watch) {
    const FileDescriptor source = open_source(src);
    struct stat record {};
    if (!source || fstat(source.get(), &record) != 0)
        return {.error_number = errno};
    FileDescriptor target(
        open(dst.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    struct stat made {};
    if (!target || fstat(target.get(), &made) != 0)
        return {.error_number = errno};
    CopyOutcome outcome = copy_content(source.get(), target.get(), cancel, watch);
    finish_target(source.get(), record, target, options, outcome);
    if (outcome.error_number != 0)
        remove_failed(dst, made);
    return outcome;
}

}  // namespace relay_hub

namespace {

int reported(const relay_hub::CopyOutcome& outcome, const std::string& dst) {
    if (outcome.error_number == 0)
        return 0;
    relay_hub::report_error({relay_hub::kFileOpUnit, "Gfile_copy_file", 710}, outcome.error_number, dst);
    errno = outcome.error_number;
    return -1;
}

}  // namespace

int Gfile_copy_file(const std::string& src, const std::string& dst, Gfile_cancel_test cancel_fn,
                    void* cancel_arg) {
    return reported(relay_hub::copy_new_file(src, dst, {cancel_fn, cancel_arg}, {}), dst);
}

int low_copy_file(const char* src, const char* dst) {
    if (src == nullptr || dst == nullptr) {
        errno = EINVAL;
        std::perror("Source file or Destination file wrong!");
        return -1;
    }
    return reported(relay_hub::copy_new_file(src, dst, {}, {relay_hub::SyncTime::now, true}), dst);
}
