#include "name_pipe/name_pipe_client.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "base/frame.h"
#include "base/log.h"
#include "name_pipe/answer_wait.h"
#include "name_pipe/channel_lock.h"

namespace relay_hub {
namespace {

using std::chrono::milliseconds;

// What follows a text that is complete: its padding, which is read off so that the peer can finish its write.
constexpr milliseconds kPaddingPause{20};
constexpr milliseconds kPaddingLimit{200};
constexpr milliseconds kPostLimit{1000};
constexpr milliseconds kLongestHold{10};
// Room for an answer is taken at once, so that it is never moved; memory that stays untouched costs nothing.
constexpr std::size_t kMostReserved = std::size_t{16} * 1024 * 1024;
constexpr int kImmediateTries = 20;
// More than a pipe holds by itself. Asking for more room takes longer than a small answer.
constexpr std::size_t kUsualCapacity = 65536;

void trace(std::string_view text) {
    theLog.Write1(text.data(), static_cast<unsigned int>(text.size()));
}

bool is_fifo(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

void discard_pending(int out) {
    discard_waiting(out, kPeerSilence);
}

bool fail_in_open() {
    trace("\tSendPipeData(...) - \" Open %s named pipe (IN) failed!!! \"\n");
    return false;
}

// Opens the requests' end as soon as somebody reads there. While the peer still serves a request that was
// given up, late_answers (which may be empty) is kept empty, so that it comes to the end of it.
FileDescriptor open_in(const std::string& path, const FileDescriptor& late_answers) {
    if (!late_answers)
        return open_fifo_writer(path, std::nullopt);
    return open_fifo_writer(path, std::nullopt, [&] { discard_pending(late_answers.get()); });
}

// Header and body in one write, as far as the pipe takes them: the peer is woken once. Returns the count.
std::size_t write_at_once(int in, const FrameHeader& header, std::string_view body) {
    const std::array<iovec, 2> parts{iovec{const_cast<char*>(header.data()), header.size()},
                                     iovec{const_cast<char*>(body.data()), body.size()}};
    const ssize_t count = TEMP_FAILURE_RETRY(::writev(in, parts.data(), parts.size()));
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::string header_trace(bool written) {
    return "Write to name-pipe (IN) - " + std::to_string(written ? static_cast<int>(kFrameHeaderSize) : -1) +
           "!!!\n";
}

std::string body_trace(std::size_t count) {
    return "001 cWrite to name-pipe (IN) - " + std::to_string(count) + "!!!\n";
}

constexpr char kWrittenTrace[] = "Write to name-pipe (IN) done!!!\n";
constexpr char kFailedTrace[] = "Write to name-pipe (IN) Failed!!!\n";
constexpr char kNothingSentTrace[] = "Write to name-pipe (IN) Failed 0001!!!\n";

bool finish_header(int in, std::string_view remaining, bool body_follows, std::optional<milliseconds> stall) {
    const bool written = write_bytes(in, remaining, stall) == WriteEnd::done;
    trace(header_trace(written));
    if (!written)
        trace(body_follows ? kFailedTrace : kNothingSentTrace);
    return written;
}

// sent: how much of the body the pipe has taken already.
bool finish_body(int in, std::string_view body, std::size_t sent, std::optional<milliseconds> stall) {
    const auto trace_count = [](std::size_t count) { trace(body_trace(count)); };
    if (sent > 0)
        trace_count(sent);
    const bool written = write_bytes(in, body.substr(sent), stall, trace_count) == WriteEnd::done;
    trace(written ? kWrittenTrace : kFailedTrace);
    return written;
}

// Writes one frame and traces each step, those of a request that the pipe takes at once together.
bool write_request(int in, std::string_view body, std::optional<milliseconds> stall) {
    const FrameHeader bytes = frame_header(static_cast<std::uint32_t>(body.size()));
    const std::string_view header(bytes.data(), bytes.size());
    const std::size_t sent = write_at_once(in, bytes, body);
    if (!body.empty() && sent == header.size() + body.size()) {
        trace(header_trace(true) + body_trace(body.size()) + kWrittenTrace);
        return true;
    }
    const std::size_t header_sent = std::min(sent, header.size());
    return finish_header(in, header.substr(header_sent), !body.empty(), stall) &&
           finish_body(in, body, sent - header_sent, stall);
}

bool ends_at_zero(AnswerKind kind, const FrameProgress& progress) {
    return kind == AnswerKind::text || progress.announced() >= answer_limit();
}

// Collects the answer's body. Returns complete also where the text ended before the frame did and the
// padding has been read off.
ReadEnd read_answer(Connection& connection, ChannelState& channel, std::string& answer, std::size_t limit,
                    AnswerKind kind) {
    FrameProgress& progress = channel.pending_reply;
    const ReadEnd awaited = await_answer(connection, progress, channel.round);
    if (awaited != ReadEnd::complete)
        return awaited;
    const int out = connection.out.get();
    const auto collect = [&](std::string_view piece) {
        if (answer.empty()) {
            answer.reserve(std::min<std::size_t>({progress.announced(), limit, kMostReserved}));
            if (progress.announced() > kUsualCapacity)
                raise_capacity(out);
        }
        const std::size_t zero = ends_at_zero(kind, progress) ? piece.find('\0') : std::string_view::npos;
        answer.append(piece.substr(0, std::min(zero, limit - answer.size())));
        return zero == std::string_view::npos && answer.size() < limit;
    };
    const ReadEnd end = read_frame(out, progress, {kPeerSilence, kPeerSilence, {}, &channel.round}, collect);
    if (end != ReadEnd::enough)
        return end;
    const Deadline padding = after(kPaddingLimit);
    return read_frame(out, progress, {kPaddingPause, kPaddingPause, {}, &channel.round},
                      [&](std::string_view) { return Clock::now() < *padding; });
}

void trace_answer(const FrameProgress& progress, std::size_t limit, std::size_t received) {
    const std::size_t wanted = std::min<std::size_t>(progress.announced(), limit);
    theLog.Print(
        "Reading - nDataLen=%d\nReading - nDataLen=%d\n"
        "001 Read to name-pipe (IN) - read = %d!!!\nNumber of readed=%d\n",
        static_cast<int>(progress.announced()), static_cast<int>(wanted), static_cast<int>(received),
        static_cast<int>(received));
}

// Waits until the peer is through with a request that was given up: its answer must not be taken for the
// next one's. The peer is through when it has closed its end or its answer is complete. False when the wait
// was ended.
bool await_pending_reply(int out, ChannelState& channel) {
    FrameProgress& reply = channel.pending_reply;
    if (!reply.started() && find_writer(out, reply) == Writer::absent)
        return true;
    const std::optional<milliseconds> first = reply.started() ? kPeerSilence : std::optional<milliseconds>{};
    const ReadEnd end = read_frame(out, reply, {first, kPeerSilence, {}, &channel.round},
                                   [](std::string_view) { return true; });
    if (end == ReadEnd::stopped)
        return false;
    return end == ReadEnd::closed || wait_for(out, 0, after(kPaddingLimit)) != WaitEnd::stopped;
}

// Takes a late reply off the channel. The end on which it arrives is kept open until the next round has
// begun: a peer that opens its end only to answer would wait for a reader for good. False when the wait was
// ended.
bool settle(const std::string& out_path, ChannelState& channel, FileDescriptor& out) {
    if (!channel.reply_pending)
        return true;
    out = open_fifo(out_path, O_RDONLY | O_NONBLOCK);
    if (out && !await_pending_reply(out.get(), channel))
        return false;
    channel.reply_pending = false;
    channel.pending_reply = {};
    return true;
}

bool exchange_on(ChannelState& channel, const std::string& base, std::string_view body, std::string& answer,
                 std::size_t limit, AnswerKind kind) {
    trace("Open Name Pipe (IN) with block method!!!\n");
    const std::string out_path = base + "_OUT";
    FileDescriptor late_answers;
    if (!settle(out_path, channel, late_answers))
        return fail_in_open();
    const std::string in_path = base + "_IN";
    Connection connection{open_in(in_path, late_answers), {}, out_path};
    if (!connection.in)
        return fail_in_open();
    connection.out = open_fifo(out_path, O_RDONLY | O_NONBLOCK);
    if (!connection.out) {
        trace("Failed to Open Name Pipe (OUT) with block method - return FALSE!!!\n");
        return false;
    }
    late_answers.reset();
    discard_pending(connection.out.get());

    channel.reply_pending = true;
    channel.round.begin(in_path, out_path);
    if (!write_request(connection.in.get(), body, std::nullopt))
        return false;
    trace("Prepare to reading...!!!\n");
    const ReadEnd end = read_answer(connection, channel, answer, limit, kind);
    if (end == ReadEnd::stopped || end == ReadEnd::failed)
        return false;
    trace_answer(channel.pending_reply, limit, answer.size());
    if (end == ReadEnd::complete || end == ReadEnd::closed) {
        channel.reply_pending = false;
        channel.pending_reply = {};
    }
    return true;
}

// A listener that is between two rounds opens its end within microseconds.
FileDescriptor open_in_without_waiting(const std::string& path) {
    FileDescriptor in;
    for (int tries = 0; !in && tries < kImmediateTries; ++tries)
        in = open_fifo(path, O_WRONLY | O_NONBLOCK);
    return in;
}

// A peer opens its end for answers before it reads; without a reader there it would wait for one for good.
void hold_until_opened(int in, int out, Clock::time_point deadline) {
    milliseconds pause{1};
    FrameProgress dropped;
    pollfd watch{in, 0, 0};
    while (find_writer(out, dropped) == Writer::absent && Clock::now() < deadline) {
        const Deadline next = std::min(deadline, Clock::now() + pause);
        if (wait_on({&watch, 1}, next) != WaitEnd::timed_out)
            return;
        pause = std::min(pause * 2, kLongestHold);
    }
}

}  // namespace

bool exchange(const std::string& base, std::string_view body, std::string& answer, std::size_t limit,
              AnswerKind kind) {
    if (!is_fifo(base + "_IN") || !is_fifo(base + "_OUT"))
        return false;
    ignore_broken_pipes();
    const ChannelLock lock(base, std::nullopt);
    if (!lock)
        return false;
    std::string received;
    if (!exchange_on(lock.channel(), base, body, received, limit, kind))
        return false;
    answer = std::move(received);
    return true;
}

bool post(const std::string& base, std::string_view body, Clock::time_point deadline, bool patient) {
    if (!is_fifo(base + "_IN"))
        return false;
    ignore_broken_pipes();
    const ChannelLock lock(base, deadline);
    if (!lock)
        return false;
    trace("Open Name Pipe (IN) with nonblock method!!!\n");
    FileDescriptor in = open_in_without_waiting(base + "_IN");
    if (!in && patient)
        in = open_fifo_writer(base + "_IN", deadline);
    if (!in)
        return fail_in_open();
    const FileDescriptor out = open_fifo(base + "_OUT", O_RDONLY | O_NONBLOCK);
    trace("Open name-pipe (OUT) no output!!!\n");
    if (!write_request(in.get(), body, kPostLimit))
        return false;
    if (out)
        hold_until_opened(in.get(), out.get(), deadline);
    return true;
}

}  // namespace relay_hub

bool SendPipeData(const char* base, char* body, unsigned int size, char* answer, unsigned int answer_size) {
    if (base == nullptr || (body == nullptr && size > 0))
        return false;
    const std::string_view request(body, size);
    if (answer == nullptr || answer_size == 0)
        return relay_hub::post(base, request, relay_hub::Clock::now() + relay_hub::kPostLimit, false);
    std::string received;
    if (!relay_hub::exchange(base, request, received, answer_size, relay_hub::AnswerKind::bytes))
        return false;
    std::memcpy(answer, received.data(), received.size());
    if (received.size() < answer_size)
        answer[received.size()] = '\0';
    return true;
}
