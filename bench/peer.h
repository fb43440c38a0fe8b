// An engine as a plain program would write it: it serves one answer over and over, and can be asked without
// anything of ours.
#pragma once

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>

#include "base/file_descriptor.h"
#include "bench/measure.h"

namespace bench {

inline std::string take(int fd, std::size_t size) {
    std::string bytes(size, '\0');
    std::size_t done = 0;
    ssize_t count = 1;
    for (; done < size && count > 0; done += static_cast<std::size_t>(std::max<ssize_t>(count, 0)))
        count = ::read(fd, bytes.data() + done, size - done);
    bytes.resize(done);
    return bytes;
}

inline std::string take_frame(int fd) {
    const std::string header = take(fd, sizeof(std::uint32_t));
    std::uint32_t length = 0;
    header.copy(reinterpret_cast<char*>(&length), sizeof length);
    return take(fd, length);
}

inline void put_frame(int fd, const std::string& body) {
    const auto length = static_cast<std::uint32_t>(body.size());
    (void)relay_hub::write_all(fd, reinterpret_cast<const char*>(&length), sizeof length);
    (void)relay_hub::write_all(fd, body.data(), body.size());
}

class Peer {
  public:
    Peer(std::string base, const std::string& answer, std::chrono::seconds delay = {})
        : base_(std::move(base)), delay_(delay) {
        must(::mkfifo((base_ + "_IN").c_str(), 0600) == 0, "mkfifo");
        must(::mkfifo((base_ + "_OUT").c_str(), 0600) == 0, "mkfifo");
        child_ = ::fork();
        if (child_ == 0)
            serve(answer);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    ~Peer() {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }

    [[nodiscard]] pid_t process() const { return child_; }

    // One exchange without anything of ours.
    [[nodiscard]] std::string ask() const {
        relay_hub::FileDescriptor in(::open((base_ + "_IN").c_str(), O_WRONLY | O_CLOEXEC));
        put_frame(in.get(), "request");
        in.reset();
        const relay_hub::FileDescriptor out(::open((base_ + "_OUT").c_str(), O_RDONLY | O_CLOEXEC));
        std::string answer = take_frame(out.get());
        // The end of the round: the next one must not meet the ends of this one.
        (void)take(out.get(), 1);
        return answer;
    }

  private:
    [[noreturn]] void serve(const std::string& answer) const {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        (void)std::signal(SIGPIPE, SIG_IGN);
        for (;;) {
            relay_hub::FileDescriptor in(::open((base_ + "_IN").c_str(), O_RDONLY | O_CLOEXEC));
            if (take_frame(in.get()).empty())
                continue;
            in.reset();
            const relay_hub::FileDescriptor out(::open((base_ + "_OUT").c_str(), O_WRONLY | O_CLOEXEC));
            std::this_thread::sleep_for(delay_);
            put_frame(out.get(), answer);
        }
    }

    std::string base_;
    std::chrono::seconds delay_;
    pid_t child_ = -1;
};

}  // namespace bench
