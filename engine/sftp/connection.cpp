#include "engine/sftp/connection.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "base/diagnostics.h"
#include "base/fifo.h"
#include "base/translated_text.h"

namespace relay_hub::engine::sftp {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kBeat{100};
constexpr std::size_t kIncomingSize = 2 * (kLongestPacket + kLengthSize);
// From this many bytes on requests are not kept back for more.
constexpr std::size_t kFlushSize = 64UL * 1024;
constexpr std::size_t kDataHead = 4;
// A disk may need long for all that is on its way to it.
constexpr int kSlowFactor = 6;
// A status that explains itself at length, beside the answer that was asked for.
constexpr std::size_t kLongestStatus = 64UL * 1024;

std::size_t longest_reply(const Connection::RequestTraits& traits) {
    switch (traits.expected) {
        case PacketType::kData:
            return traits.most_data + kDataHead;
        case PacketType::kHandle:
            return kLongestHandle + kDataHead;
        case PacketType::kName:
            return kLongestPacket;
        default:
            return kLongestStatus;
    }
}

}  // namespace

struct PendingReply::Request {
    Connection* connection = nullptr;
    Connection::RequestTraits traits;
    // Both guarded by the connection's mutex.
    bool awaited = false;
    bool dropped = false;  // nobody waits for it
    std::atomic<bool> done{false};
    Reply answer;  // once done
};

PendingReply& PendingReply::operator=(PendingReply&& other) noexcept {
    if (this != &other) {
        drop();
        request_ = std::move(other.request_);
    }
    return *this;
}

bool PendingReply::arrived() const {
    return request_ && (request_->done || request_->connection->lost_);
}

void PendingReply::drop() {
    const auto request = std::exchange(request_, nullptr);
    if (!request || request->traits.expected != PacketType::kHandle)
        return;
    Connection& connection = *request->connection;
    {
        const std::lock_guard lock(connection.mutex_);
        request->dropped = true;
        if (request->done && request->answer.type == PacketType::kHandle)
            connection.close_handle(request->answer.fields);
    }
    connection.flush();
}

Connection::Connection(FileDescriptor to_server, FileDescriptor from_server,
                       std::function<std::string()> last_words)
    : to_server_(std::move(to_server)),
      from_server_(std::move(from_server)),
      state_events_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      thread_events_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      last_words_(std::move(last_words)),
      last_sign_(steady_clock::now()),
      incoming_(kIncomingSize) {
    ignore_broken_pipes();
    append_number(outgoing_, sizeof(std::uint32_t) + 1);
    outgoing_ += static_cast<char>(PacketType::kInit);
    append_number(outgoing_, kProtocolVersion);
    if (const int error = worker_.start("the answers of the other computer", [this] { run(); }); error != 0)
        lose(error_text(error));
}

Connection::~Connection() {
    end(translated("IDS_REASON_LINK_CLOSED"));
    worker_.join();
}

Connection::State Connection::state() const {
    const std::lock_guard lock(mutex_);
    return state_;
}

std::vector<Extension> Connection::extensions() const {
    const std::lock_guard lock(mutex_);
    return extensions_;
}

std::string Connection::reason() const {
    const std::lock_guard lock(mutex_);
    return reason_;
}

PendingReply Connection::send(const RequestTraits& traits, const Fields& fields) {
    const std::lock_guard lock(mutex_);
    PendingReply reply;
    reply.request_ = append_request(traits, fields.bytes(), nullptr);
    return reply;
}

PendingReply Connection::send(const RequestTraits& traits, const Fields& fields, std::string_view data) {
    const std::lock_guard lock(mutex_);
    PendingReply reply;
    reply.request_ = append_request(traits, fields.bytes(), &data);
    return reply;
}

Connection::RequestPtr Connection::append_request(const RequestTraits& traits, std::string_view fields,
                                                  const std::string_view* data) {
    auto request = std::make_shared<PendingReply::Request>();
    request->connection = this;
    request->traits = traits;
    if (state_ == State::kLost)
        return request;
    const std::uint32_t number = next_number_++;
    const std::size_t data_size = data != nullptr ? kDataHead + data->size() : 0;
    append_number(outgoing_, static_cast<std::uint32_t>(kAnswerHead + fields.size() + data_size));
    outgoing_ += static_cast<char>(traits.type);
    append_number(outgoing_, number);
    outgoing_ += fields;
    if (data != nullptr) {
        append_number(outgoing_, static_cast<std::uint32_t>(data->size()));
        outgoing_ += *data;
    }
    if (in_flight_.empty())
        last_sign_ = steady_clock::now();
    in_flight_.emplace(number, request);
    slow_in_flight_ += traits.slow ? 1 : 0;
    if (outgoing_.size() - outgoing_start_ >= kFlushSize)
        write_some();
    return request;
}

void Connection::flush() {
    const std::lock_guard lock(mutex_);
    write_some();
}

void Connection::write_some() {
    while (state_ != State::kLost && outgoing_start_ < outgoing_.size()) {
        const ssize_t count =
            ::write(to_server_.get(), outgoing_.data() + outgoing_start_, outgoing_.size() - outgoing_start_);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            break;
        outgoing_start_ += static_cast<std::size_t>(count);
    }
    // The thread sends what remains as the pipe takes it, and sees what is wrong with the pipe at its other
    // end.
    if (outgoing_start_ < outgoing_.size())
        (void)eventfd_write(thread_events_.get(), 1);
    if (outgoing_start_ * 2 >= outgoing_.size()) {
        outgoing_.erase(0, outgoing_start_);
        outgoing_start_ = 0;
    }
}

Error Connection::wait(PendingReply& reply, Interruption* interruption, Reply& answer) {
    const auto request = reply.request_;
    std::unique_lock lock(mutex_);
    request->awaited = true;
    if (!request->done)
        write_some();
    while (!request->done && state_ != State::kLost) {
        if (interruption != nullptr && (interruption->raised || interruption->ended))
            return ECANCELED;
        const auto now = steady_clock::now();
        if (interruption != nullptr && interruption->goes_on && now - interruption->last_asked >= kBeat) {
            lock.unlock();
            interruption->ended = !interruption->goes_on();
            interruption->last_asked = steady_clock::now();
            lock.lock();
            continue;
        }
        // The thread looks how long the server has been silent; it may have begun to wait before this
        // request.
        if (arrived_.wait_for(lock, kBeat) == std::cv_status::timeout)
            (void)eventfd_write(thread_events_.get(), 1);
    }
    if (!request->done)
        return {ENOTCONN, fill_translated("IDS_REASON_LINK_LOST", {reason_})};
    answer = std::move(request->answer);
    reply.request_.reset();
    return {};
}

void Connection::wake_waiting() {
    // Nobody is between its look at the interruption and its wait.
    { const std::lock_guard lock(mutex_); }
    arrived_.notify_all();
}

void Connection::drain(milliseconds limit) {
    std::unique_lock lock(mutex_);
    write_some();
    arrived_.wait_for(lock, limit, [this] { return in_flight_.empty() || state_ == State::kLost; });
}

void Connection::end(const std::string& reason) {
    lose(reason);
    (void)eventfd_write(thread_events_.get(), 1);
}

void Connection::lose(const std::string& reason) {
    {
        const std::lock_guard lock(mutex_);
        if (state_ == State::kLost)
            return;
        state_ = State::kLost;
        reason_ = reason;
        lost_ = true;
        in_flight_.clear();
    }
    arrived_.notify_all();
    (void)eventfd_write(state_events_.get(), 1);
}

void Connection::run() {
    while (serve_pipes()) {
    }
}

milliseconds Connection::silence_limit() const {
    return silence_limit_.load() * (slow_in_flight_ > 0 ? kSlowFactor : 1);
}

int Connection::poll_limit() const {
    if (state_ != State::kOpen || in_flight_.empty())
        return -1;
    const auto left = last_sign_ + silence_limit() - steady_clock::now();
    return static_cast<int>(std::max(std::chrono::ceil<milliseconds>(left), milliseconds(0)).count());
}

bool Connection::serve_pipes() {
    enum { kFrom, kEvents, kTo };
    std::array<pollfd, 3> items{
        {{from_server_.get(), POLLIN, 0}, {thread_events_.get(), POLLIN, 0}, {-1, POLLOUT, 0}}};
    int limit = 0;
    {
        const std::lock_guard lock(mutex_);
        if (state_ == State::kLost)
            return false;
        if (outgoing_start_ < outgoing_.size())
            items[kTo].fd = to_server_.get();
        limit = poll_limit();
    }
    const int ready = poll(items.data(), items.size(), limit);
    if (items[kEvents].revents != 0) {
        eventfd_t ignored = 0;
        (void)eventfd_read(thread_events_.get(), &ignored);
    }
    if (items[kFrom].revents != 0)
        return read_some();
    if (items[kTo].revents != 0)
        flush();
    if (ready != 0 || limit != 0)
        return true;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(silence_limit()).count();
    lose(fill_translated("IDS_REASON_LINK_SILENT", {std::to_string(seconds)}));
    return false;
}

bool Connection::read_some() {
    const ssize_t count =
        ::read(from_server_.get(), incoming_.data() + incoming_end_, incoming_.size() - incoming_end_);
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return true;
    if (count <= 0) {
        const std::string words = last_words_ ? last_words_() : std::string();
        lose(translated("IDS_REASON_LINK_CLOSED") + (words.empty() ? "" : ": " + words));
        return false;
    }
    incoming_end_ += static_cast<std::size_t>(count);
    std::string wrong;
    bool greeted = true;
    bool awaited = false;
    {
        const std::lock_guard lock(mutex_);
        last_sign_ = steady_clock::now();
        const State before = state_;
        wrong = take_packets();
        greeted = state_ != State::kGreeting;
        write_some();
        if (state_ != before)
            (void)eventfd_write(state_events_.get(), 1);
        awaited = std::exchange(awaited_arrived_, false);
    }
    if (awaited)
        arrived_.notify_all();
    if (wrong.empty())
        return true;
    report(RELAY_HUB_HERE, "the other computer", wrong);
    lose(translated(greeted ? "IDS_REASON_LINK_NONSENSE" : "IDS_REASON_LINK_NOT_SFTP"));
    return false;
}

std::string Connection::take_packets() {
    std::string wrong;
    while (wrong.empty() && incoming_end_ - incoming_start_ >= kLengthSize) {
        const std::size_t size = number_at(incoming_.data() + incoming_start_);
        if (size == 0 || size > kLongestPacket)
            return "sent a packet of " + std::to_string(size) + " bytes";
        if (incoming_end_ - incoming_start_ < kLengthSize + size)
            break;
        wrong = take_packet({incoming_.data() + incoming_start_ + kLengthSize, size});
        incoming_start_ += kLengthSize + size;
    }
    // A packet that is not complete has room behind it for the missing part.
    if (incoming_start_ == incoming_end_ || incoming_start_ > incoming_.size() / 2) {
        std::memmove(incoming_.data(), incoming_.data() + incoming_start_, incoming_end_ - incoming_start_);
        incoming_end_ -= incoming_start_;
        incoming_start_ = 0;
    }
    return wrong;
}

std::string Connection::take_packet(std::string_view packet) {
    const auto type = static_cast<PacketType>(packet.front());
    packet.remove_prefix(1);
    if (state_ != State::kGreeting)
        return take_reply(type, packet);
    auto extensions = read_version(packet);
    if (type != PacketType::kVersion || !extensions)
        return "does not speak version 3 of SFTP";
    extensions_ = std::move(*extensions);
    state_ = State::kOpen;
    return {};
}

std::string Connection::take_reply(PacketType type, std::string_view packet) {
    if (packet.size() < sizeof(std::uint32_t))
        return "sent an answer that is cut short";
    const std::uint32_t number = number_at(packet.data());
    packet.remove_prefix(sizeof number);
    const auto found = in_flight_.find(number);
    if (found == in_flight_.end())
        return "answered a request that was not made, or answered twice";
    const RequestPtr request = std::move(found->second);
    in_flight_.erase(found);
    slow_in_flight_ -= request->traits.slow ? 1 : 0;
    if (type != request->traits.expected && type != PacketType::kStatus)
        return "sent an answer of a kind that was not asked for";
    if (packet.size() > (type == PacketType::kStatus ? kLongestStatus : longest_reply(request->traits)))
        return "sent an answer longer than was asked for";
    request->answer = {type, std::string(packet)};
    request->done = true;
    awaited_arrived_ = awaited_arrived_ || request->awaited || in_flight_.empty();
    if (request->dropped && type == PacketType::kHandle)
        close_handle(request->answer.fields);
    return {};
}

void Connection::close_handle(const std::string& fields) {
    if (read_handle(fields))
        (void)append_request({PacketType::kClose}, fields, nullptr);
}

}  // namespace relay_hub::engine::sftp
