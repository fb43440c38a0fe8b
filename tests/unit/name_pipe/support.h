#pragma once
// What the tests of the channel share: a folder of their own, a wait for a condition, a peer with plain
// blocking descriptors that plays the other end.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <utility>

#include "name_pipe/file_descriptor.h"

namespace test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class Folder {
  public:
    Folder() {
        std::string name = std::filesystem::temp_directory_path() / "relay-hub-XXXXXX";
        path_ = ::mkdtemp(name.data());
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { std::filesystem::remove_all(path_); }
    [[nodiscard]] std::string operator/(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

template <typename Condition>
bool wait_until(const Condition& condition, std::chrono::milliseconds limit = 5s) {
    for (const auto end = Clock::now() + limit; Clock::now() < end; std::this_thread::sleep_for(1ms))
        if (condition())
            return true;
    return condition();
}

// A thread that is waited for.
class Background {
  public:
    explicit Background(std::function<void()> work) : thread_(std::move(work)) {}
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;
    ~Background() { join(); }
    void join() {
        if (thread_.joinable())
            thread_.join();
    }

  private:
    std::thread thread_;
};

inline std::string content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void put(const std::string& path, const std::string& text) {
    std::ofstream(path) << text;
}

inline std::string length_field(std::uint32_t length) {
    return {reinterpret_cast<const char*>(&length), sizeof length};
}

inline std::string frame(const std::string& body) {
    return length_field(static_cast<std::uint32_t>(body.size())) + body;
}

// One end of a channel; opens and reads block as a plain program's do.
class Peer {
  public:
    explicit Peer(std::string base) : base_(std::move(base)) {}

    Peer& open_in(int mode) {
        in_.reset(::open((base_ + "_IN").c_str(), mode | O_CLOEXEC));
        return *this;
    }
    Peer& open_out(int mode) {
        out_.reset(::open((base_ + "_OUT").c_str(), mode | O_CLOEXEC));
        return *this;
    }
    Peer& as_server() { return open_in(O_RDONLY).open_out(O_WRONLY); }
    Peer& as_client() { return open_in(O_WRONLY).open_out(O_RDONLY); }
    void close_in() { in_.reset(); }
    void close_out() { out_.reset(); }

    [[nodiscard]] std::string take_request() const { return take_frame(in_.get()); }
    [[nodiscard]] std::string take_answer() const { return take_frame(out_.get()); }
    void request(const std::string& bytes) const {
        (void)relay_hub::write_all(in_.get(), bytes.data(), bytes.size());
    }
    void answer(const std::string& bytes) const {
        (void)relay_hub::write_all(out_.get(), bytes.data(), bytes.size());
    }
    void await_request() const { await(in_.get(), POLLIN); }
    void await_reader_gone() const { await(out_.get(), 0); }

  private:
    static void await(int fd, short events) {
        pollfd watch{fd, events, 0};
        (void)::poll(&watch, 1, 5000);
    }
    static std::string take(int fd, std::size_t size) {
        std::string bytes(size, '\0');
        std::size_t done = 0;
        ssize_t count = 1;
        for (; done < size && count > 0; done += static_cast<std::size_t>(std::max<ssize_t>(count, 0)))
            count = ::read(fd, bytes.data() + done, size - done);
        bytes.resize(done);
        return bytes;
    }
    static std::string take_frame(int fd) {
        const std::string header = take(fd, 4);
        std::uint32_t length = 0;
        std::memcpy(&length, header.data(), header.size());
        return header.size() < sizeof length ? "" : take(fd, length);
    }

    std::string base_;
    relay_hub::FileDescriptor in_;
    relay_hub::FileDescriptor out_;
};

}  // namespace test
