#include "unit/util/fault_injection.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

const char* failing_function = nullptr;
std::function<void()> before_writes;
int failing_error = 0;
std::atomic<int> calls_to_skip{0};
std::atomic<unsigned> transfers{0};
constexpr std::size_t kShortTransfer = 65537;

bool armed(const char* function) {
    return failing_function != nullptr && std::strcmp(failing_function, function) == 0;
}

bool fails(const char* function) {
    if (!(armed(function) && calls_to_skip-- <= 0) && !(armed("transfer") && ++transfers % 2 == 0))
        return false;
    errno = failing_error;
    return true;
}

std::size_t cut(std::size_t size) {
    return armed("transfer") ? std::min(size, kShortTransfer) : size;
}

template <typename Function>
Function real(Function, const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool is_touched(int fd) {
    return fd > STDERR_FILENO;
}

}  // namespace

#define REAL(name) real(&::name, #name)

extern "C" {

ssize_t read(int fd, void* buffer, size_t size) {
    static const auto next = REAL(read);
    return is_touched(fd) && fails("read") ? -1 : next(fd, buffer, cut(size));
}

ssize_t write(int fd, const void* buffer, size_t size) {
    static const auto next = REAL(write);
    if (before_writes && is_touched(fd))
        before_writes();
    return is_touched(fd) && fails("write") ? -1 : next(fd, buffer, cut(size));
}

int close(int fd) {
    static const auto next = REAL(close);
    // The descriptor is gone in any case, as it is on a real failure; only what was written may be lost.
    const bool written = (fcntl(fd, F_GETFL) & O_ACCMODE) != O_RDONLY;
    const int result = next(fd);
    return written && is_touched(fd) && armed("close") && fails("close") ? -1 : result;
}

dirent* readdir(DIR* folder) {
    static const auto next = REAL(readdir);
    return armed("readdir") && fails("readdir") ? nullptr : next(folder);
}

// Carried out all the same: a network loses the answer.
int unlinkat(int folder, const char* path, int flags) noexcept {
    static const auto next = REAL(unlinkat);
    const int result = next(folder, path, flags);
    return armed("unlinkat") && fails("unlinkat") ? -1 : result;
}

#define FAILING_CALL(name, parameters, arguments, exception_spec)  \
    int name parameters exception_spec {                           \
        static const auto next = REAL(name);                       \
        return armed(#name) && fails(#name) ? -1 : next arguments; \
    }

FAILING_CALL(fsync, (int fd), (fd), )
FAILING_CALL(syncfs, (int fd), (fd), noexcept)
FAILING_CALL(renameat, (int from_folder, const char* from, int to_folder, const char* to),
             (from_folder, from, to_folder, to), noexcept)
FAILING_CALL(renameat2, (int from_folder, const char* from, int to_folder, const char* to, unsigned flags),
             (from_folder, from, to_folder, to, armed("unlinkat") ? ~0U : flags), noexcept)
FAILING_CALL(symlinkat, (const char* text, int folder, const char* path), (text, folder, path), noexcept)
FAILING_CALL(fchmod, (int fd, mode_t mode), (fd, mode), noexcept)
FAILING_CALL(futimens, (int fd, const timespec times[2]), (fd, times), noexcept)
FAILING_CALL(fchown, (int fd, uid_t user, gid_t group), (fd, user, group), noexcept)
FAILING_CALL(fsetxattr, (int fd, const char* name, const void* value, size_t size, int flags),
             (fd, name, value, size, flags), noexcept)
FAILING_CALL(mkdir, (const char* path, mode_t mode), (path, mode), noexcept)

}  // extern "C"

namespace util_test {

Fault::Fault(const char* function, int error_number, int skip) {
    failing_error = error_number;
    calls_to_skip = skip;
    failing_function = function;
}

BeforeWrites::BeforeWrites(std::function<void()> action) {
    before_writes = std::move(action);
}

BeforeWrites::~BeforeWrites() {
    before_writes = nullptr;
}

Fault::~Fault() {
    failing_function = nullptr;
}

}  // namespace util_test
