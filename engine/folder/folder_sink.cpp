#include "engine/folder/folder_sink.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <random>
#include <string_view>
#include <utility>

#include "base/diagnostics.h"

namespace relay_hub::engine {
namespace {

constexpr std::string_view kPrefix = ".relay-hub-";
constexpr std::string_view kSuffix = ".part";
constexpr std::size_t kRandomDigits = 16;
// The window leaves such files where both serve one machine.
constexpr std::size_t kFrontEndRandomLength = 8;
constexpr mode_t kModeBits = 07777;

// Some file systems hold neither modes nor exact times; a copy there is whole all the same.
bool is_refused_attribute(int error) {
    return error == EPERM || error == ENOTSUP || error == ENOSYS;
}

}  // namespace

std::string temporary_name() {
    static std::random_device random;
    std::array<char, kRandomDigits + 1> digits{};
    std::snprintf(digits.data(), digits.size(), "%08x%08x", random(), random());
    return std::string(kPrefix).append(digits.data()).append(kSuffix);
}

bool is_temporary_name(const std::string& name) {
    std::string_view text = name;
    if (!text.starts_with(kPrefix) || !text.ends_with(kSuffix) ||
        text.size() < kPrefix.size() + kSuffix.size())
        return false;
    text = text.substr(kPrefix.size(), text.size() - kPrefix.size() - kSuffix.size());
    return (text.size() == kRandomDigits || text.size() == kFrontEndRandomLength) &&
           std::all_of(text.begin(), text.end(), [](char c) { return g_ascii_isalnum(c) != 0; });
}

namespace {

// Whichever way it can be opened: it may have the mode of its final name already.
FileDescriptor open_part(int folder, const std::string& name) {
    constexpr int kFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    FileDescriptor file(openat(folder, name.c_str(), O_RDONLY | kFlags));
    return file || errno != EACCES ? std::move(file)
                                   : FileDescriptor(openat(folder, name.c_str(), O_WRONLY | kFlags));
}

}  // namespace

void sweep_temporary_files(int folder, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        if (!is_temporary_name(name))
            continue;
        const FileDescriptor file = open_part(folder, name);
        struct stat status {};
        if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
            continue;
        if (flock(file.get(), LOCK_EX | LOCK_NB) != 0)
            continue;
        if (unlinkat(folder, name.c_str(), 0) != 0)
            report_error(RELAY_HUB_HERE, errno, name);
    }
}

int rename_to_free_name(int from_folder, const std::string& from, int to_folder, const std::string& to) {
    if (renameat2(from_folder, from.c_str(), to_folder, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // A file system without the flag: a hard link refuses a taken name just as surely.
    if (linkat(from_folder, from.c_str(), to_folder, to.c_str(), 0) == 0)
        return unlinkat(from_folder, from.c_str(), 0) == 0 ? 0 : errno;
    if (errno == EEXIST)
        return EEXIST;
    struct stat status {};
    if (fstatat(to_folder, to.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0)
        return EEXIST;
    return renameat(from_folder, from.c_str(), to_folder, to.c_str()) == 0 ? 0 : errno;
}

int apply_attributes(int fd, const Entry& entry) {
    if (entry.has_mode && fchmod(fd, entry.mode & kModeBits) != 0 && !is_refused_attribute(errno))
        return errno;
    const std::array<timespec, 2> times{entry.accessed, entry.modified};
    if (entry.has_times && futimens(fd, times.data()) != 0 && !is_refused_attribute(errno))
        return errno;
    return 0;
}

FolderSink::FolderSink(SharedFolder folder, std::string name, const Entry& entry, bool replace)
    : folder_(std::move(folder)), name_(std::move(name)), entry_(entry), replace_(replace) {}

FolderSink::~FolderSink() {
    if (!temporary_.empty() && unlinkat(folder_->get(), temporary_.c_str(), 0) != 0)
        report_error(RELAY_HUB_HERE, errno, temporary_);
}

int FolderSink::create() {
    return !replace_ && create_nameless() ? 0 : create_temporary();
}

bool FolderSink::create_nameless() {
    static const bool can_be_named_later = access("/proc/self/fd", X_OK) == 0;
    if (can_be_named_later)
        file_.reset(openat(folder_->get(), ".", O_RDWR | O_TMPFILE | O_CLOEXEC, S_IRUSR | S_IWUSR));
    return static_cast<bool>(file_);
}

int FolderSink::create_temporary() {
    while (true) {
        std::string name = temporary_name();
        const int fd = openat(folder_->get(), name.c_str(),
                              O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (fd < 0 && errno == EEXIST)
            continue;
        if (fd < 0)
            return errno;
        file_.reset(fd);
        // A sweep may have seen the file before it was locked, and taken it for a left-over one. Where locks
        // are not to be had, nothing is swept.
        struct stat status {};
        if (flock(fd, LOCK_EX) == 0 && fstat(fd, &status) == 0 && status.st_nlink == 0)
            continue;
        temporary_ = std::move(name);
        return 0;
    }
}

Error FolderSink::write(const char* data, std::size_t size) {
    return write_all(file_.get(), data, size);
}

void FolderSink::start_flush() {
    // Only a hint: the sync before the final name is what counts.
    (void)sync_file_range(file_.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
}

Error FolderSink::finish(const FileSource& /*source*/) {
    return apply_attributes(file_.get(), entry_);
}

int FolderSink::sync() {
    return fsync(file_.get()) == 0 ? 0 : errno;
}

int FolderSink::sync_file_system() {
    return syncfs(file_.get()) == 0 ? 0 : errno;
}

int FolderSink::take_free_name() {
    if (temporary_.empty()) {
        const std::string nameless = "/proc/self/fd/" + std::to_string(file_.get());
        if (linkat(AT_FDCWD, nameless.c_str(), folder_->get(), name_.c_str(), AT_SYMLINK_FOLLOW) == 0)
            return 0;
        if (errno == EEXIST)
            return EEXIST;
        if (const int error = move_to_temporary(); error != 0)
            return error;
    }
    return rename_to_free_name(folder_->get(), temporary_, folder_->get(), name_);
}

int FolderSink::move_to_temporary() {
    const FileDescriptor nameless = std::move(file_);
    struct stat status {};
    if (fstat(nameless.get(), &status) != 0)
        return errno;
    if (const int error = create_temporary(); error != 0)
        return error;
    off_t done = 0;
    while (done < status.st_size) {
        const ssize_t count =
            sendfile(file_.get(), nameless.get(), &done, static_cast<std::size_t>(status.st_size - done));
        if (count == 0)
            return EIO;
        if (count < 0 && errno != EINTR)
            return errno;
    }
    const int error = apply_attributes(file_.get(), entry_);
    return error != 0 ? error : sync();
}

int FolderSink::publish() {
    int error = 0;
    if (!replace_)
        error = take_free_name();
    else if (renameat(folder_->get(), temporary_.c_str(), folder_->get(), name_.c_str()) != 0)
        error = errno;
    if (error != 0)
        return error;
    temporary_.clear();
    return file_.close();
}

}  // namespace relay_hub::engine
