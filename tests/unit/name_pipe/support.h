#pragma once
// What the tests of the channel share: a peer with plain blocking descriptors that plays the other end.
#include <poll.h>

#include <cstdint>

#include "pipe.h"
#include "sandbox.h"

namespace test {

using Background = std::jthread;  // a thread that is waited for

inline const std::string kMarker("\xC9\xBB\x29\xF9\x00\x01", 6);
inline const std::string kUserMarker("\xBA\x33\x78\xA9\x00\x01", 6);

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

    Peer& open_in(int mode) { return open(in_, "_IN", mode); }
    Peer& open_out(int mode) { return open(out_, "_OUT", mode); }
    Peer& as_server() { return open_in(O_RDONLY).open_out(O_WRONLY); }
    Peer& as_client() { return open_in(O_WRONLY).open_out(O_RDONLY); }
    void close_in() { in_.reset(); }
    void close_out() { out_.reset(); }

    [[nodiscard]] std::string take_request() const { return take_frame(in_.get()); }
    [[nodiscard]] std::string take_answer() const { return take_frame(out_.get()); }
    void request(const std::string& bytes) const { send(in_.get(), bytes); }
    void answer(const std::string& bytes) const { send(out_.get(), bytes); }
    void await_request() const { await(in_.get(), POLLIN); }
    void await_reader_gone() const { await(out_.get(), 0); }

  private:
    Peer& open(relay_hub::FileDescriptor& end, const char* name, int mode) {
        end.reset(::open((base_ + name).c_str(), mode | O_CLOEXEC));
        return *this;
    }
    static void send(int fd, const std::string& bytes) {
        (void)relay_hub::write_all(fd, bytes.data(), bytes.size());
    }
    static void await(int fd, short events) {
        pollfd watch{fd, events, 0};
        (void)::poll(&watch, 1, 5000);
    }
    static std::string take_frame(int fd) {
        const std::string header = read_bytes(fd, 4);
        std::uint32_t length = 0;
        std::memcpy(&length, header.data(), header.size());
        return header.size() < sizeof length ? "" : read_bytes(fd, length);
    }

    std::string base_;
    relay_hub::FileDescriptor in_;
    relay_hub::FileDescriptor out_;
};

}  // namespace test
