#include "base/temporary_file.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "base/diagnostics.h"
#include "base/file_attributes.h"
#include "base/folder_handle.h"
#include "base/rename_without_replacing.h"

namespace relay_hub {
namespace {

constexpr std::string_view kPrefix = ".relay-hub-";
constexpr std::string_view kSuffix = ".part";
constexpr std::size_t kRandomDigits = 16;
// Of files that earlier versions left.
constexpr std::size_t kShortRandomLength = 8;
constexpr int kAttempts = 100;

bool has_a_name(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 && status.st_nlink > 0;
}

// Whichever way it can be opened: it may have the mode of its final name already.
FileDescriptor open_part(int folder, const char* name) {
    constexpr int kFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    FileDescriptor file(openat(folder, name, O_RDONLY | kFlags));
    return file || errno != EACCES ? std::move(file)
                                   : FileDescriptor(openat(folder, name, O_WRONLY | kFlags));
}

bool is_left_over_file(int folder, const char* name, const FileDescriptor& file) {
    struct stat status {};
    return file && fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
           flock(file.get(), LOCK_EX | LOCK_NB) == 0 && has_a_name(file.get()) &&
           faccessat(folder, name, F_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

bool is_left_over_link(int folder, const char* name) {
    struct stat status {};
    return fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
}

void sweep_one(int folder, const std::string& name) {
    // Held, and with it the lock, until the name is gone.
    const FileDescriptor file = open_part(folder, name.c_str());
    if (!is_left_over_file(folder, name.c_str(), file) && !is_left_over_link(folder, name.c_str()))
        return;
    if (unlinkat(folder, name.c_str(), 0) != 0 && errno != ENOENT)
        report_error(RELAY_HUB_HERE, errno, name);
}

// 0 or errno.
int copy_all(int source, int target, off_t size) {
    off_t done = 0;
    while (done < size) {
        const ssize_t count = sendfile(target, source, &done, static_cast<std::size_t>(size - done));
        if (count == 0)
            return EIO;
        if (count < 0 && errno != EINTR)
            return errno;
    }
    return 0;
}

}  // namespace

std::string temporary_name() {
    char digits[kRandomDigits + 1];
    std::snprintf(digits, sizeof digits, "%08x%08x", g_random_int(), g_random_int());
    return std::string(kPrefix).append(digits).append(kSuffix);
}

bool is_temporary_name(std::string_view name) {
    if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix) ||
        name.size() < kPrefix.size() + kSuffix.size())
        return false;
    name = name.substr(kPrefix.size(), name.size() - kPrefix.size() - kSuffix.size());
    return (name.size() == kRandomDigits || name.size() == kShortRandomLength) &&
           std::all_of(name.begin(), name.end(), [](char c) { return g_ascii_isalnum(c) != 0; });
}

TemporaryFile::TemporaryFile(int folder, std::string name, FileDescriptor fd)
    : folder_(folder), name_(std::move(name)), fd_(std::move(fd)) {}

TemporaryFile& TemporaryFile::operator=(TemporaryFile&& other) noexcept {
    std::swap(folder_, other.folder_);
    std::swap(name_, other.name_);
    std::swap(fd_, other.fd_);
    return *this;
}

void TemporaryFile::remove() {
    if (!name_.empty() && unlinkat(folder_, name_.c_str(), 0) != 0)
        report_error(RELAY_HUB_HERE, errno, name_);
    name_.clear();
}

TemporaryFile TemporaryFile::create(int folder) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::string name = temporary_name();
        FileDescriptor fd(openat(folder, name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                 S_IRUSR | S_IWUSR));
        if (!fd && errno == EEXIST)
            continue;
        if (!fd)
            return {};
        // A sweep may have seen the file before it was locked, and taken it for a left-over one. Where there
        // are no locks, a sweep removes nothing.
        if (flock(fd.get(), LOCK_EX) != 0 || has_a_name(fd.get()))
            return {folder, std::move(name), std::move(fd)};
    }
    errno = EEXIST;
    return {};
}

TemporaryFile TemporaryFile::create_nameless(int folder) {
    const bool can_be_named_later = access("/proc/self/fd", X_OK) == 0;
    if (can_be_named_later) {
        FileDescriptor fd(openat(folder, ".", O_RDWR | O_TMPFILE | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (fd)
            return {folder, {}, std::move(fd)};
    }
    return create(folder);
}

int TemporaryFile::flush() const {
    FileDescriptor twin(fcntl(fd_.get(), F_DUPFD_CLOEXEC, 0));
    return twin ? twin.close() : errno;
}

int TemporaryFile::replace(const std::string& target) {
    if (renameat(folder_, name_.c_str(), folder_, target.c_str()) != 0)
        return errno;
    name_.clear();
    return 0;
}

int TemporaryFile::take_free_name(const std::string& target) {
    if (name_.empty()) {
        const std::string nameless = path_of_descriptor(fd_.get());
        if (linkat(AT_FDCWD, nameless.c_str(), folder_, target.c_str(), AT_SYMLINK_FOLLOW) == 0)
            return 0;
        if (errno == EEXIST)
            return EEXIST;
        if (const int error = move_to_named_file(); error != 0)
            return error;
    }
    const int error = rename_without_replacing(folder_, name_, folder_, target);
    if (error == 0)
        name_.clear();
    return error;
}

int TemporaryFile::move_to_named_file() {
    TemporaryFile named = create(folder_);
    struct stat status {};
    if (!named.valid() || fstat(fd(), &status) != 0)
        return errno;
    int error = copy_all(fd(), named.fd(), status.st_size);
    if (error == 0)
        error = copy_attributes(fd(), status, named.fd(), TargetAge::fresh);
    if (error == 0 && fsync(named.fd()) != 0)
        error = errno;
    if (error == 0)
        *this = std::move(named);
    return error;
}

namespace {

int try_to_place_link(int folder, const std::string& name, const std::string& text, bool replace,
                      const timespec* times) {
    const std::string temporary = temporary_name();
    if (symlinkat(text.c_str(), folder, temporary.c_str()) != 0)
        return errno;
    if (times != nullptr)
        (void)utimensat(folder, temporary.c_str(), times, AT_SYMLINK_NOFOLLOW);
    int error = 0;
    if (!replace)
        error = rename_without_replacing(folder, temporary, folder, name);
    else if (renameat(folder, temporary.c_str(), folder, name.c_str()) != 0)
        error = errno;
    if (error != 0)
        (void)unlinkat(folder, temporary.c_str(), 0);
    return error;
}

}  // namespace

int place_link(int folder, const std::string& name, const std::string& text, bool replace,
               const timespec* times) {
    // A link cannot be locked: a sweep may have taken it on its way.
    int error = ENOENT;
    for (int attempt = 0; error == ENOENT && attempt < kAttempts; ++attempt)
        error = try_to_place_link(folder, name, text, replace, times);
    return error;
}

void sweep_temporary_files(int folder) {
    std::vector<std::string> names;
    // What broke off is left to another sweep.
    (void)read_names(folder, names);
    sweep_temporary_files(folder, names);
}

void sweep_temporary_files(int folder, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        if (is_temporary_name(name))
            sweep_one(folder, name);
    }
}

}  // namespace relay_hub
