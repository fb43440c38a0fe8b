#include "ui/signals.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/non_copyable.h"
#include "link_engine/Zev_link_op.h"

namespace {

constexpr std::string_view kProgram = "Relay Hub";
constexpr int kFailureStatus = 255;

// One line composed without the heap and written with one write: all that a handler may do.
class Line {
  public:
    Line& operator<<(std::string_view text) {
        const std::size_t count = std::min(text.size(), sizeof buffer_ - size_);
        std::memcpy(buffer_ + size_, text.data(), count);
        size_ += count;
        return *this;
    }
    Line& operator<<(int number) {
        char digits[16];
        const auto result = std::to_chars(digits, digits + sizeof digits, number);
        return *this << std::string_view(digits, static_cast<std::size_t>(result.ptr - digits));
    }
    void write_to(int fd) const {
        // A handler has nobody to tell that its line was lost.
        [[maybe_unused]] const ssize_t written = ::write(fd, buffer_, size_);
    }

  private:
    char buffer_[256];
    std::size_t size_ = 0;
};

// The interrupted code must find its errno unchanged.
class KeptErrno : relay_hub::NonCopyable {
  public:
    ~KeptErrno() { errno = value_; }

  private:
    int value_ = errno;
};

bool is_for(int own, int number) {
    if (own == number)
        return true;
    (Line() << "pid:[" << static_cast<int>(::getpid()) << "] >> This signal number:[" << number
            << "] not implement !!\n")
        .write_to(STDERR_FILENO);
    return false;
}

void tell(std::string_view handler) {
    (Line() << kProgram << ":" << handler << "\n").write_to(STDERR_FILENO);
}

std::string_view description_of(int error_number) {
    const char* text = ::strerrordesc_np(error_number);
    return text != nullptr ? text : "";
}

}  // namespace

const signal_entry signals[kSignalEntries] = {
    {SIGCHLD, SIGCHLD_handler}, {SIGINT, SIGINT_handler},   {SIGTERM, SIGTERM_handler},
    {SIGSEGV, SIGSEGV_handler}, {SIGUSR1, SIGUSR1_handler}, {SIGUSR2, SIGUSR2_handler},
};

void SIGCHLD_handler(int number) {
    const KeptErrno kept;
    if (!is_for(SIGCHLD, number))
        return;
    signal_count = signal_count + 1;
    (Line() << kProgram << ":signal_count:" << signal_count << "\n").write_to(STDOUT_FILENO);
}

void SIGINT_handler(int number) {
    const KeptErrno kept;
    if (!is_for(SIGINT, number))
        return;
    tell("SIGINT_handler");
    ::_exit(kFailureStatus);
}

void SIGTERM_handler(int number) {
    const KeptErrno kept;
    if (is_for(SIGTERM, number))
        tell("SIGTERM_handler");
}

void SIGSEGV_handler(int number) {
    const int error_number = errno;
    const KeptErrno kept;
    if (!is_for(SIGSEGV, number))
        return;
    (Line() << kProgram << ":SIGSEGV_handler >> [" << description_of(error_number) << "]\tcode:["
            << error_number << "]\n")
        .write_to(STDERR_FILENO);
    ::_exit(kFailureStatus);
}

void SIGUSR1_handler(int number) {
    const KeptErrno kept;
    if (is_for(SIGUSR1, number))
        tell("SIGUSR1_handler");
}

void SIGUSR2_handler(int number) {
    const KeptErrno kept;
    if (is_for(SIGUSR2, number))
        tell("SIGUSR2_handler");
}

int handle_register() {
    for (int entry = kSignalEntries - 1; entry >= 0; --entry) {
        struct sigaction action {};
        action.sa_handler = signals[entry].handler;
        (void)::sigemptyset(&action.sa_mask);
        const int result = ::sigaction(signals[entry].number, &action, nullptr);
        if (result != 0) {
            (void)std::fprintf(stderr, "%s:signal register fail!\n", kProgram.data());
            return result;
        }
    }
    return 0;
}
