#include "base/log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "base/glib_owners.h"
#include "base/local_time_text.h"
#include "base/ownership.h"

constinit Log theLog;
relay_hub::EventLog relay_hub::event_log;

namespace {

// They hold every name that the user sees.
constexpr mode_t kLogMode = 0600;

// O_NONBLOCK keeps a FIFO that stands at the path from holding up the open; regular files ignore it.
relay_hub::FileDescriptor open_log(const char* path, int flags) {
    relay_hub::FileDescriptor file(
        ::open(path, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | flags, kLogMode));
    struct stat status {};
    // A second name is a link to somebody's file as well; what another user can read tells them our names.
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink > 1 ||
        !relay_hub::is_ours_or_roots(status))
        return {};
    if (status.st_uid == ::geteuid() && (status.st_mode & ALLPERMS) != kLogMode)
        (void)::fchmod(file.get(), kLogMode);
    return file;
}

// One call, so that lines of several writers never mix; a log that is full or gone has nobody to tell.
void write_once(int fd, const std::vector<std::string_view>& parts) {
    std::vector<iovec> pieces;
    pieces.reserve(parts.size());
    for (const std::string_view part : parts)
        pieces.push_back({const_cast<char*>(part.data()), part.size()});
    (void)TEMP_FAILURE_RETRY(::writev(fd, pieces.data(), static_cast<int>(pieces.size())));
}

void append_line(const char* path, std::initializer_list<std::string_view> parts) {
    const std::string stamp = relay_hub::local_time_text(std::time(nullptr), "%H:%M:%S ");
    std::vector<std::string_view> line{stamp};
    line.insert(line.end(), parts);
    line.emplace_back("\n");
    if (const relay_hub::FileDescriptor file = open_log(path, O_APPEND))
        write_once(file.get(), line);
}

}  // namespace

Log::Log(const char* path, bool append) {
    SetFile(path, append);
}

Log::~Log() {
    Print("^^^^ Close Log()\n");
    CloseFile();
}

void Log::SetFile(const char* path, bool append) {
    // Emptied only once it is known to be a regular file.
    relay_hub::FileDescriptor file = open_log(path, append ? O_APPEND : 0);
    if (file && ::ftruncate(file.get(), 0) != 0)
        file.reset();
    m_nFile = file.release();
}

void Log::CloseFile() {
    if (m_nFile < 0)
        return;
    Print("^^^^ Close Handle\n");
    const relay_hub::FileDescriptor closed_here(m_nFile.exchange(-1));
}

void Log::Write1(const char* data, unsigned int length) {
    WriteParts({std::string_view(data, length)});
}

void Log::WriteParts(std::initializer_list<std::string_view> parts) {
    const int fd = m_nFile;
    if (fd >= 0)
        write_once(fd, parts);
}

void Log::Print(const char* format, ...) {
    va_list args;
    va_start(args, format);
    ReallyPrint(format, args);
    va_end(args);
}

void Log::ReallyPrint(const char* format, va_list args) {
    const int fd = m_nFile;
    const relay_hub::GText text(fd >= 0 ? g_strdup_vprintf(format, args) : nullptr);
    if (text && *text != '\0')
        write_once(fd, {text.get()});
}

int write_log(const char* path, const char* message) {
    if (path == nullptr || message == nullptr || *path == '\0')
        return -1;
    append_line(path, {message});
    return 0;
}

namespace relay_hub {

void log_event(const char* format, ...) {
    const std::lock_guard lock(event_log.mutex);
    va_list args;
    va_start(args, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the checker does not see va_start
    const int size = std::vsnprintf(g_log_message, sizeof g_log_message, format, args);
    va_end(args);
    if (size >= 0)
        (void)write_log(kEventLogPath, g_log_message);
}

void log_event_parts(std::initializer_list<std::string_view> parts) {
    append_line(kEventLogPath, parts);
}

}  // namespace relay_hub
