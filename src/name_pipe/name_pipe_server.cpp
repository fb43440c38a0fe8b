#include "name_pipe/name_pipe_server.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <string>

#include "base/diagnostics.h"
#include "base/fifo.h"
#include "name_pipe/call_back_round.h"
#include "name_pipe/pipe_data.h"
#include "name_pipe/taken_place.h"

namespace {

using relay_hub::FileDescriptor;
using std::chrono::milliseconds;

constexpr milliseconds kFirstLook{1};
constexpr milliseconds kSlowestLook{20};
// Engines of other accounts write here.
constexpr mode_t kNotifyMode = 0777;
constexpr milliseconds kReopenPause{200};
// How long a client that has its answer takes to leave, and one that got none to see that its round has
// ended: the answers' end that is opened for the next one would hide it.
constexpr milliseconds kLeaving{1};
constexpr milliseconds kNoticing{200};

struct Server {
    std::string in_path;
    std::string out_path;
    bool (*on_read)(int fd, void* ctx);
    bool (*on_write)(int fd);
    void* ctx;
    bool answered = true;  // the client before
};

// The answers' end as writer, without waiting for a reader: while our own short-lived reader is there, the
// open succeeds, and a client that waits for a writer goes on at once.
FileDescriptor open_out(const std::string& path) {
    const FileDescriptor own_reader = relay_hub::open_fifo(path, O_RDWR | O_NONBLOCK);
    if (!own_reader)
        return {};
    FileDescriptor out = relay_hub::open_fifo(path, O_WRONLY | O_NONBLOCK);
    if (out)
        relay_hub::raise_capacity(out.get());
    return out;
}

void report_unusable(const char* base, const std::string& path) {
    relay_hub::report_error(RELAY_HUB_HERE, errno, path);
    if (const std::string taken = relay_hub::taken_place(base); !taken.empty())
        relay_hub::report(RELAY_HUB_HERE, taken);
}

// A FIFO that cannot be opened is put back where it is missing, after a pause.
void mend(const std::string& path) {
    relay_hub::report_error(RELAY_HUB_HERE, errno, path);
    (void)relay_hub::interruptible_sleep(kReopenPause);
    (void)relay_hub::make_fifo(path, kNotifyMode);
}

enum class Client { sent, left, silent };

Client await_request(int in, milliseconds time) {
    pollfd watch{in, POLLIN, 0};
    if (relay_hub::wait_on({&watch, 1}, relay_hub::after(time)) != relay_hub::WaitEnd::ready)
        return Client::silent;
    return (watch.revents & POLLIN) != 0 ? Client::sent : Client::left;
}

struct Connection {
    FileDescriptor in;
    FileDescriptor out;
};

// Waits for the next client that sends something within its time, and opens both ends to it. While the
// previous client is still leaving, no answers' end is opened: the next client would take its closing for the
// end of its own round. The requests' end stays open meanwhile, so that nothing the next client has written
// is lost.
Connection await_client(const Server& server, milliseconds& time) {
    Connection client;
    do {
        client.out.reset();
        client.in = relay_hub::open_fifo(server.in_path, O_RDONLY);
        if (!client.in) {
            mend(server.in_path);
            return {};
        }
        if (server.on_write == nullptr)
            return client;
        if (await_request(client.in.get(), server.answered ? kLeaving : kNoticing) == Client::left)
            continue;
        client.out = open_out(server.out_path);
        if (!client.out) {
            mend(server.out_path);
            return {};
        }
        const auto since = relay_hub::Clock::now();
        const Client state = await_request(client.in.get(), time);
        relay_hub::spend(time, since);
        if (state == Client::sent)
            return client;
        if (state == Client::silent)
            return {};
    } while (bThreadContinue);
    return {};
}

bool has_reader(int out) {
    pollfd watch{out, 0, 0};
    return ::poll(&watch, 1, 0) == 0;
}

// A client may open its end for the answer only after its request.
void await_reader(int out, milliseconds time) {
    const relay_hub::Deadline end = relay_hub::after(time);
    milliseconds pause = kFirstLook;
    while (!has_reader(out) && bThreadContinue && relay_hub::Clock::now() < *end &&
           relay_hub::interruptible_sleep(pause))
        pause = std::min(pause * 2, kSlowestLook);
}

// False when a step ends the loop.
bool serve_client(Server& server) {
    milliseconds time = relay_hub::kClientTime;
    Connection client = await_client(server, time);
    server.answered = false;
    if (!client.in)
        return true;
    const bool had_reader = client.out && has_reader(client.out.get());
    {
        const relay_hub::RoundTime scope(time);
        if (!server.on_read(client.in.get(), server.ctx))
            return false;
    }
    client.in.reset();
    if (server.on_write == nullptr)
        return true;
    // A reader that was there and has gone does not come back.
    server.answered = server.on_write != pipe_write_func || relay_hub::answer_is_waiting();
    if (!had_reader && server.answered)
        await_reader(client.out.get(), time);
    return server.on_write(client.out.get());
}

// One client's failure, memory included, is not the end of the service.
bool serve_safely(Server& server) {
    try {
        return serve_client(server);
    } catch (const std::exception& failure) {
        relay_hub::report(RELAY_HUB_HERE, "a call-back could not be served:", failure.what());
        return true;
    }
}

}  // namespace

bool ListenPipeClient(const char* base, bool (*on_read)(int fd, void* ctx), bool (*on_write)(int fd),
                      void* ctx) {
    if (base == nullptr || on_read == nullptr)
        return false;
    relay_hub::ignore_broken_pipes();
    Server server{std::string(base) + "_IN", std::string(base) + "_OUT", on_read, on_write, ctx};
    if (!relay_hub::make_fifo(server.in_path, kNotifyMode)) {
        report_unusable(base, server.in_path);
        return false;
    }
    if (on_write == nullptr) {
        (void)::unlink(server.out_path.c_str());
    } else if (!relay_hub::make_fifo(server.out_path, kNotifyMode)) {
        report_unusable(base, server.out_path);
        return false;
    }
    bThreadContinue = true;
    while (serve_safely(server) && !CNamePipeBase::m_bExitFromListenLoop.exchange(false) && bThreadContinue) {
    }
    return true;
}
