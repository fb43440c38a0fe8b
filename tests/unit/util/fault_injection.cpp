#include "unit/util/fault_injection.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

namespace {

const char* failing_function = nullptr;
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
    return is_touched(fd) && fails("write") ? -1 : next(fd, buffer, cut(size));
}

int close(int fd) {
    static const auto next = REAL(close);
    // The descriptor is gone in any case, as it is on a real failure; only what was written may be lost.
    const bool written = (fcntl(fd, F_GETFL) & O_ACCMODE) != O_RDONLY;
    const int result = next(fd);
    return written && is_touched(fd) && armed("close") && fails("close") ? -1 : result;
}

#define FAILING_CALL(name, parameters, arguments, exception_spec)  \
    int name parameters exception_spec {                           \
        static const auto next = REAL(name);                       \
        return armed(#name) && fails(#name) ? -1 : next arguments; \
    }

FAILING_CALL(fsync, (int fd), (fd), )
FAILING_CALL(syncfs, (int fd), (fd), noexcept)
FAILING_CALL(rename, (const char* from, const char* to), (from, to), noexcept)
FAILING_CALL(symlink, (const char* text, const char* path), (text, path), noexcept)
FAILING_CALL(mkdir, (const char* path, mode_t mode), (path, mode), noexcept)

}  // extern "C"

namespace util_test {

Fault::Fault(const char* function, int error_number, int skip) {
    failing_error = error_number;
    calls_to_skip = skip;
    failing_function = function;
}

Fault::~Fault() {
    failing_function = nullptr;
}

}  // namespace util_test
