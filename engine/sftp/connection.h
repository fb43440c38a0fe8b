#pragma once
// Requests and answers of one SFTP server over a pair of pipes. Any number of requests may be in flight; a
// thread of the connection's own reads the answers and matches them by number. An answer that was not asked
// for, of a kind or length that does not fit the request, or none at all for long, ends the connection for
// good: then every request fails with the reason. Every operation may be called on any thread.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/file_descriptor.h"
#include "base/non_copyable.h"
#include "base/worker.h"
#include "engine/remote_file_system.h"
#include "engine/sftp/packet.h"

namespace relay_hub::engine::sftp {

struct Reply {
    PacketType type = PacketType::kStatus;
    std::string fields;
};

// What may end a wait before the answer is there. Shared by those who wait and those who interrupt.
struct Interruption {
    std::atomic<bool> raised{false};
    // Asked every 100 ms on the waiting thread; false from it ends the wait. Null for none.
    std::function<bool()> goes_on;
    // The waiting thread alone. Once ended, no later wait takes up the time of another question.
    bool ended = false;
    std::chrono::steady_clock::time_point last_asked;
};

class Connection;

// An answer to come. Dropped before it came, a handle that it brings is closed.
class PendingReply {
  public:
    PendingReply() = default;
    PendingReply(PendingReply&& other) noexcept = default;
    PendingReply& operator=(PendingReply&& other) noexcept;
    PendingReply(const PendingReply&) = delete;
    PendingReply& operator=(const PendingReply&) = delete;
    ~PendingReply() { drop(); }

    [[nodiscard]] bool sent() const { return request_ != nullptr; }
    // Whether wait() returns at once.
    [[nodiscard]] bool arrived() const;

  private:
    friend class Connection;
    struct Request;
    void drop();

    std::shared_ptr<Request> request_;
};

class Connection : NonCopyable {
  public:
    // The descriptors are non-blocking. last_words, called on any thread, adds to the reason when the server
    // closes its end; null for nothing to add.
    Connection(FileDescriptor to_server, FileDescriptor from_server, std::function<std::string()> last_words);
    ~Connection();

    // The greeting is sent when the connection is made.
    enum class State { kGreeting, kOpen, kLost };
    [[nodiscard]] State state() const;
    // Readable after every change of the state. Borrowed.
    [[nodiscard]] int state_events() const { return state_events_.get(); }
    // What the server's greeting said; empty before.
    [[nodiscard]] std::vector<Extension> extensions() const;
    // Why it is lost.
    [[nodiscard]] std::string reason() const;

    // expected: the kind of answer beside a status. most_data: of a kData answer. data goes behind the fields
    // as a text of its own. Sent at the latest by the next wait() or flush(). The connection outlives its
    // replies.
    struct RequestTraits {
        PacketType type;
        PacketType expected = PacketType::kStatus;
        std::size_t most_data = 0;
        bool slow = false;  // may take the server's disk long
    };
    PendingReply send(const RequestTraits& traits, const Fields& fields);
    PendingReply send(const RequestTraits& traits, const Fields& fields, std::string_view data);
    void flush();
    // Takes the answer. ECANCELED when interrupted (null: never), ENOTCONN with the reason when lost.
    Error wait(PendingReply& reply, Interruption* interruption, Reply& answer);
    // Makes those who wait look at their interruption.
    void wake_waiting();
    // Waits until no request is in flight, the connection is lost or the time is over.
    void drain(std::chrono::milliseconds limit);
    // Ends the connection; nothing for one that is lost already.
    void end(const std::string& reason);
    // How long the server may be silent while requests are in flight. Before the first request.
    void set_silence_limit(std::chrono::milliseconds limit) { silence_limit_ = limit; }

  private:
    friend class PendingReply;
    using RequestPtr = std::shared_ptr<PendingReply::Request>;

    void run();
    // One turn of the thread; false when the connection is lost.
    bool serve_pipes();
    bool read_some();
    [[nodiscard]] int poll_limit() const;
    void lose(const std::string& reason);
    // With mutex_ held from here on.
    RequestPtr append_request(const RequestTraits& traits, std::string_view fields,
                              const std::string_view* data);
    void write_some();
    // What is wrong with the packets, empty for nothing.
    std::string take_packets();
    std::string take_packet(std::string_view packet);
    std::string take_reply(PacketType type, std::string_view packet);
    void close_handle(const std::string& fields);
    [[nodiscard]] std::chrono::milliseconds silence_limit() const;

    FileDescriptor to_server_;
    FileDescriptor from_server_;
    FileDescriptor state_events_;
    FileDescriptor thread_events_;
    const std::function<std::string()> last_words_;
    std::atomic<std::chrono::milliseconds> silence_limit_{std::chrono::seconds(30)};

    std::atomic<bool> lost_{false};
    mutable std::mutex mutex_;
    std::condition_variable arrived_;
    // All guarded by mutex_.
    State state_ = State::kGreeting;
    std::string reason_;
    std::vector<Extension> extensions_;
    std::unordered_map<std::uint32_t, RequestPtr> in_flight_;
    std::uint32_t next_number_ = 1;
    std::string outgoing_;
    std::size_t outgoing_start_ = 0;
    std::size_t slow_in_flight_ = 0;
    bool awaited_arrived_ = false;                     // somebody is to be woken
    std::chrono::steady_clock::time_point last_sign_;  // of life, or of a request after none

    // The connection's thread alone.
    std::vector<char> incoming_;
    std::size_t incoming_start_ = 0;
    std::size_t incoming_end_ = 0;

    Worker worker_;
};

}  // namespace relay_hub::engine::sftp
