#include "name_pipe/answer_wait.h"

#include <fcntl.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <optional>

#include "base/fifo.h"
#include "base/wait.h"

namespace relay_hub {
namespace {

constexpr std::chrono::milliseconds kAtOnce{20};

bool request_unread(int in) {
    int unread = 0;
    return ::ioctl(in, FIONREAD, &unread) == 0 && unread > 0;
}

// After a hang-up on the answers' end. A peer that has not read the request only ended a round before it: the
// end is opened afresh, because a hang-up stays to be seen. False when the peer has had the request.
bool joins_next_round(Connection& connection) {
    if (!request_unread(connection.in.get()))
        return false;
    connection.out = open_fifo(connection.out_path, O_RDONLY | O_NONBLOCK);
    return static_cast<bool>(connection.out);
}

// The peer closed the answers' end; what it wrote before is still there.
ReadEnd answer_at_round_end(int out, FrameProgress& progress) {
    return find_writer(out, progress) == Writer::sent ? ReadEnd::complete : ReadEnd::closed;
}

// What the pipes show of the peer while its answer is awaited.
enum class PeerState {
    reading,    // it has the requests' end open
    answering,  // it has only the answers' end open
    missing,    // it has neither: a living peer for moments, between its reading and its answering
};

class AnswerWait {
  public:
    AnswerWait(Connection& connection, FrameProgress& progress, RoundWatch& round)
        : connection_(connection), progress_(progress), round_(round) {}

    ReadEnd run() {
        if (comes_at_once())
            return ReadEnd::complete;
        std::optional<ReadEnd> end;
        while (!end)
            end = next_event();
        return *end;
    }

  private:
    // Most answers come at once, and what the peer does before it answers need not wake us.
    bool comes_at_once() const {
        pollfd answer{connection_.out.get(), POLLIN, 0};
        return wait_on({&answer, 1}, after(kAtOnce)) == WaitEnd::ready && (answer.revents & POLLIN) != 0;
    }

    // Each step returns nothing while the wait goes on.
    std::optional<ReadEnd> next_event() {
        const int requests = peer_ == PeerState::reading ? connection_.in.get() : -1;
        std::array<pollfd, 3> watches{
            {{connection_.out.get(), POLLIN, 0}, {round_.descriptor(), POLLIN, 0}, {requests, 0, 0}}};
        const WaitEnd end = wait_on(watches, missing_until_);
        if (end == WaitEnd::stopped)
            return ReadEnd::stopped;
        if ((watches[0].revents & POLLIN) != 0)
            return ReadEnd::complete;
        if (watches[0].revents != 0)
            return joins_next_round(connection_) ? std::nullopt : std::optional(ReadEnd::closed);
        if (round_.has_left()) {
            if (!request_unread(connection_.in.get()))
                return answer_at_round_end(connection_.out.get(), progress_);
            round_.forget();
        }
        const bool reader_left = watches[2].revents != 0;
        return end == WaitEnd::ready && !reader_left ? std::nullopt : look_for_writer();
    }

    // After the requests' end lost its reader, or the peer was missing for long.
    std::optional<ReadEnd> look_for_writer() {
        const Writer writer = find_writer(connection_.out.get(), progress_);
        if (writer == Writer::sent)
            return ReadEnd::complete;
        if (writer == Writer::absent && peer_ == PeerState::missing)
            return ReadEnd::closed;
        peer_ = writer == Writer::absent ? PeerState::missing : PeerState::answering;
        missing_until_ = writer == Writer::absent ? after(kPeerSilence) : Deadline{};
        return std::nullopt;
    }

    Connection& connection_;
    FrameProgress& progress_;
    RoundWatch& round_;
    PeerState peer_ = PeerState::reading;
    Deadline missing_until_;  // set while it is missing
};

}  // namespace

Writer find_writer(int out, FrameProgress& progress) {
    FrameHeader bytes{};
    const ssize_t count = read_some(out, bytes.data(), std::min(bytes.size(), progress.wanted()));
    if (count <= 0)
        return count == 0 ? Writer::absent : Writer::present;
    (void)progress.take({bytes.data(), static_cast<std::size_t>(count)});
    return Writer::sent;
}

ReadEnd await_answer(Connection& connection, FrameProgress& progress, RoundWatch& round) {
    return AnswerWait(connection, progress, round).run();
}

}  // namespace relay_hub
