#include "util/temporary_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <utility>

#include "base/folder_handle.h"
#include "util/file_op_unit.h"

namespace relay_hub {
namespace {

constexpr std::string_view kPrefix = ".relay-hub-";
constexpr std::string_view kSuffix = ".part";
constexpr std::string_view kAlphabet = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::size_t kRandomLength = 8;
// Our engine leaves such files in folders of this machine, too.
constexpr std::size_t kEngineRandomLength = 16;
constexpr int kAttempts = 100;

bool still_has_a_name(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 && status.st_nlink > 0;
}

// Whichever way it can be opened: it may have the mode of its final name already.
FileDescriptor open_part(int folder_fd, const char* name) {
    constexpr int kFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    FileDescriptor file(openat(folder_fd, name, O_RDONLY | kFlags));
    return file || errno != EACCES ? std::move(file)
                                   : FileDescriptor(openat(folder_fd, name, O_WRONLY | kFlags));
}

void sweep_one(int folder_fd, const std::string& folder, const char* name) {
    const FileDescriptor file = open_part(folder_fd, name);
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0 || !still_has_a_name(file.get()))
        return;
    if (unlinkat(folder_fd, name, 0) != 0)
        report_error(FILE_OP_HERE, errno, folder + "/" + name);
}

}  // namespace

TemporaryFile::TemporaryFile(std::string path, FileDescriptor fd)
    : path_(std::move(path)), fd_(std::move(fd)) {}

TemporaryFile TemporaryFile::beside(const std::string& path) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::string name = temporary_path_beside(path);
        FileDescriptor fd(
            open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
        if (!fd && errno == EEXIST)
            continue;
        if (!fd)
            return {std::string(), FileDescriptor()};
        // A sweep may have seen the file before it was locked, and taken it for a left-over one. Where there
        // are no locks, a sweep removes nothing.
        if (flock(fd.get(), LOCK_EX) != 0 || still_has_a_name(fd.get()))
            return {std::move(name), std::move(fd)};
    }
    errno = EEXIST;
    return {std::string(), FileDescriptor()};
}

TemporaryFile::~TemporaryFile() {
    if (fd_ && !path_.empty() && unlink(path_.c_str()) != 0)
        report_error(FILE_OP_HERE, errno, path_);
}

int TemporaryFile::flush() const {
    FileDescriptor twin(fcntl(fd_.get(), F_DUPFD_CLOEXEC, 0));
    return twin ? twin.close() : errno;
}

int TemporaryFile::take_name(const std::string& target) {
    int result = rename(path_.c_str(), target.c_str());
    if (result != 0 && errno == EISDIR && rmdir(target.c_str()) == 0)
        result = rename(path_.c_str(), target.c_str());
    if (result != 0)
        return errno;
    path_.clear();
    return 0;
}

std::string temporary_path_beside(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    std::string name = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
    name += kPrefix;
    for (std::size_t index = 0; index < kRandomLength; ++index)
        name += kAlphabet[g_random_int() % kAlphabet.size()];
    name += kSuffix;
    return name;
}

bool is_temporary_name(const std::string& name) {
    std::string_view text(name);
    if (!text.starts_with(kPrefix) || !text.ends_with(kSuffix) ||
        text.size() < kPrefix.size() + kSuffix.size())
        return false;
    text = text.substr(kPrefix.size(), text.size() - kPrefix.size() - kSuffix.size());
    return (text.size() == kRandomLength || text.size() == kEngineRandomLength) &&
           text.find_first_not_of(kAlphabet) == std::string_view::npos;
}

void sweep_temporary_files(const std::string& folder) {
    const FolderHandle dir = open_folder(folder);
    if (!dir)
        return;
    while (const dirent* entry = readdir(dir.get())) {
        if (is_temporary_name(entry->d_name))
            sweep_one(dirfd(dir.get()), folder, entry->d_name);
    }
}

}  // namespace relay_hub
