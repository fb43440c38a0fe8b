// Passes bytes between a port of its own on 127.0.0.1 and another one, and holds each back for a time, each
// way: a link of that length. Usage: delay_relay FAR_PORT MILLISECONDS. Prints its port; ends when its input
// does.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <vector>

#include "base/file_descriptor.h"

namespace {

using relay_hub::FileDescriptor;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kPiece = 256UL * 1024;
constexpr std::size_t kMostHeld = 64UL * 1024 * 1024;

struct Piece {
    Clock::time_point due;
    std::vector<char> bytes;
    std::size_t sent = 0;
};

// One direction of a connection.
struct Flow {
    int from = -1;
    int to = -1;
    std::deque<Piece> held;
    std::size_t held_bytes = 0;
    bool ended = false;

    [[nodiscard]] bool due(Clock::time_point now) const { return !held.empty() && held.front().due <= now; }

    void take(Clock::duration delay) {
        // One for all: clearing a new one for each small piece would slow the link itself.
        static std::array<char, kPiece> bytes;
        const ssize_t count = read(from, bytes.data(), bytes.size());
        if (count < 0 && errno == EAGAIN)
            return;
        ended = count <= 0;
        if (ended)
            return;
        held_bytes += static_cast<std::size_t>(count);
        held.push_back({Clock::now() + delay, {bytes.begin(), bytes.begin() + count}});
    }

    void give() {
        Piece& piece = held.front();
        const ssize_t count =
            send(to, piece.bytes.data() + piece.sent, piece.bytes.size() - piece.sent, MSG_NOSIGNAL);
        if (count < 0 && errno != EAGAIN) {
            ended = true;
            held.clear();
        }
        if (count <= 0)
            return;
        piece.sent += static_cast<std::size_t>(count);
        held_bytes -= static_cast<std::size_t>(count);
        if (piece.sent == piece.bytes.size())
            held.pop_front();
    }
};

struct Connection {
    FileDescriptor near;
    FileDescriptor far;
    std::array<Flow, 2> flows;
    [[nodiscard]] bool over() const {
        return std::any_of(flows.begin(), flows.end(),
                           [](const Flow& flow) { return flow.ended && flow.held.empty(); });
    }
};

void must(bool good, const char* what) {
    if (!good) {
        std::perror(what);
        std::exit(1);
    }
}

sockaddr_in address_of(unsigned port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

void set_up(int end) {
    const int on = 1;
    (void)setsockopt(end, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    (void)fcntl(end, F_SETFL, O_NONBLOCK);
}

std::unique_ptr<Connection> connect_through(int listener, unsigned far_port) {
    auto made = std::make_unique<Connection>();
    made->near.reset(accept(listener, nullptr, nullptr));
    made->far.reset(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in far = address_of(far_port);
    if (connect(made->far.get(), reinterpret_cast<const sockaddr*>(&far), sizeof far) != 0)
        return nullptr;
    set_up(made->near.get());
    set_up(made->far.get());
    made->flows[0].from = made->flows[1].to = made->near.get();
    made->flows[1].from = made->flows[0].to = made->far.get();
    return made;
}

FileDescriptor listen_somewhere() {
    FileDescriptor listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = address_of(0);
    socklen_t size = sizeof address;
    must(bind(listener.get(), reinterpret_cast<sockaddr*>(&address), size) == 0, "bind");
    must(listen(listener.get(), SOMAXCONN) == 0, "listen");
    must(getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size) == 0, "getsockname");
    std::printf("%u\n", static_cast<unsigned>(ntohs(address.sin_port)));
    (void)std::fflush(stdout);
    return listener;
}

// One turn: waits for what can be done, and does it.
void turn(std::vector<std::unique_ptr<Connection>>& connections, std::vector<pollfd>& watches,
          Clock::duration delay) {
    const auto now = Clock::now();
    auto next_due = now + std::chrono::hours(1);
    std::vector<Flow*> flows;
    for (const auto& connection : connections) {
        for (Flow& flow : connection->flows) {
            const bool reads = !flow.ended && flow.held_bytes < kMostHeld;
            watches.push_back({reads ? flow.from : -1, POLLIN, 0});
            watches.push_back({flow.due(now) ? flow.to : -1, POLLOUT, 0});
            if (!flow.held.empty() && !flow.due(now))
                next_due = std::min(next_due, flow.held.front().due);
            flows.push_back(&flow);
        }
    }
    const auto wait = std::chrono::duration_cast<std::chrono::nanoseconds>(next_due - now).count();
    const timespec limit{wait / 1000000000, wait % 1000000000};
    (void)ppoll(watches.data(), watches.size(), &limit, nullptr);
    const std::size_t first = watches.size() - 2 * flows.size();
    for (std::size_t i = 0; i < flows.size(); ++i) {
        if (watches[first + 2 * i].revents != 0)
            flows[i]->take(delay);
        if (watches[first + 2 * i + 1].revents != 0)
            flows[i]->give();
    }
    std::erase_if(connections, [](const auto& connection) { return connection->over(); });
}

}  // namespace

int main(int argc, char** argv) {
    must(argc == 3, "usage: delay_relay FAR_PORT MILLISECONDS");
    const auto far_port = static_cast<unsigned>(std::strtoul(argv[1], nullptr, 10));
    const auto delay = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double, std::milli>(std::strtod(argv[2], nullptr)));
    const FileDescriptor listener = listen_somewhere();
    std::vector<std::unique_ptr<Connection>> connections;
    while (true) {
        std::vector<pollfd> watches{{STDIN_FILENO, POLLIN, 0}, {listener.get(), POLLIN, 0}};
        turn(connections, watches, delay);
        if (watches[0].revents != 0)
            return 0;
        if (watches[1].revents == 0)
            continue;
        if (auto connection = connect_through(listener.get(), far_port))
            connections.push_back(std::move(connection));
    }
}
