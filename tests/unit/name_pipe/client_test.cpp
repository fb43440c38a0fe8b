#include <csignal>

#include "base/fifo.h"
#include "base/log.h"
#include "base/ownership.h"
#include "base/stop_token.h"
#include "name_pipe/channel_lock.h"
#include "name_pipe/name_pipe_base.h"
#include "name_pipe/name_pipe_client.h"
#include "support.h"

namespace {

using namespace test;

class Client : public testing::Test {
  protected:
    void SetUp() override {
        std::signal(SIGPIPE, SIG_IGN);
        ASSERT_EQ(::mkfifo((base_ + "_IN").c_str(), 0600), 0);
        ASSERT_EQ(::mkfifo((base_ + "_OUT").c_str(), 0600), 0);
    }

    bool send(const std::string& text, std::string& answer) {
        return channel_.NPSendMessage(text, answer, base_, kCommandData);
    }

    // One round of a server: takes the request, then answers as it is told to.
    Background serve(std::function<void(Peer&)> answer) {
        return Background([this, answer = std::move(answer)] {
            Peer peer(base_);
            request_ = peer.as_server().take_request();
            answer(peer);
        });
    }

    Sandbox folder_;
    std::string base_ = folder_.at("channel");
    std::string request_;  // read it when the server is joined
    CNamePipeBase channel_{base_, kPipeBufferSize, kPipeBufferSize};
};

std::string padded(std::string text) {
    text.resize(kPipeBufferSize);
    return frame(text);
}

TEST_F(Client, EndsUpWithWhatThePeerGave) {
    const std::string large(5 << 20, 'l');
    using Serve = std::function<void(Peer&)>;  // once the peer has taken the request
    // Only a peer that pauses is waited for, two seconds.
    const std::tuple<const char*, std::string, bool, Serve> cases[] = {
        {"short", "hello", false, [](Peer& p) { p.answer(frame("hello")), p.await_reader_gone(); }},
        {"stops reading first", "late", false,
         [](Peer& p) { p.close_in(), p.answer(frame("late")), p.await_reader_gone(); }},
        {"empty", "", false, [](Peer& p) { p.answer(frame("")), p.await_reader_gone(); }},
        {"large", large, false, [&large](Peer& p) { p.answer(frame(large)); }},
        {"byte by byte", "slowly", false,
         [](Peer& p) {
             for (const char byte : frame("slowly"))
                 p.answer({byte}), std::this_thread::sleep_for(5ms);
         }},
        {"padded", "text", false, [](Peer& p) { p.answer(padded("text")); }},
        {"padding never comes", "text", false,
         [](Peer& p) { p.answer(padded("text").substr(0, 9)), p.await_reader_gone(); }},
        {"dies behind the length", "", false, [](Peer& p) { p.answer(length_field(10)); }},
        {"pauses within the body", "hal", true,
         [](Peer& p) { p.answer(frame("half").substr(0, 7)), p.await_reader_gone(); }},
    };
    for (const auto& [name, expected, waits, answer_with] : cases) {
        Background server = serve(answer_with);
        std::string answer = "untouched";
        const auto start = Clock::now();
        EXPECT_TRUE(send("<ZEVMSG></ZEVMSG>", answer)) << name;
        EXPECT_EQ(Clock::now() - start >= 2s, waits) << name;
        server.join();
        EXPECT_EQ(request_, kMarker + "<ZEVMSG></ZEVMSG>") << name;
        EXPECT_TRUE(answer == expected) << name << ": " << answer.size() << " bytes";
    }
}

TEST_F(Client, SeesEveryEndOfARoundHoweverFastTheNextBegins) {
    for (const std::string& bytes : {std::string(), std::string("\x05"), frame("half").substr(0, 7)}) {
        const Background server = serve([&](Peer& peer) {
            peer.answer(bytes);
            Peer next(base_);
            next.open_out(O_WRONLY);
            peer.close_out();
            next.await_reader_gone();
        });
        std::string answer = "untouched";
        const auto start = Clock::now();
        EXPECT_TRUE(send("?", answer));
        EXPECT_LT(Clock::now() - start, 2s) << bytes.size();
        EXPECT_EQ(answer, bytes.size() > 4 ? "hal" : "");
    }
}

TEST_F(Client, TakesNothingThatStoodInThePipeBefore) {
    Peer stale(base_);
    stale.open_out(O_RDWR).answer(frame("stale"));
    const Background server = serve([](Peer& peer) { peer.answer(frame("new")); });
    std::string answer;
    EXPECT_TRUE(send("?", answer));
    EXPECT_EQ(answer, "new");
}

TEST_F(Client, UsesNoPipeOfAnotherUser) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs the right to give files away";
    Peer reader(base_);
    reader.open_in(O_RDWR);
    for (const char* end : {"_IN", "_OUT"}) {
        const std::string path = base_ + end;
        ASSERT_EQ(::chown(path.c_str(), 54321, 0), 0);
        ASSERT_EQ(::chmod(path.c_str(), 0777), 0);
        std::string answer;
        EXPECT_FALSE(send("?", answer)) << end;
        EXPECT_FALSE(relay_hub::make_fifo(path, 0600)) << end;
        EXPECT_EQ(relay_hub::foreign_owner(path), "54321");
        ASSERT_EQ(::chown(path.c_str(), 0, 0), 0);
    }
    const std::string log = folder_.at("log");
    write_log(log.c_str(), "mine");
    EXPECT_EQ(mode_of(log), 0600U);
    ASSERT_EQ(::chown(log.c_str(), 54321, 0), 0);
    const std::string before = content(log);
    write_log(log.c_str(), "stolen");
    EXPECT_EQ(content(log), before);
}

TEST_F(Client, FillsTheCallersBufferAndNoMore) {
    for (const unsigned int room : {4U, 7U, 8U}) {
        const Background server = serve([](Peer& peer) { peer.answer(frame(std::string("abcd\0fg", 7))); });
        std::string buffer = "########";
        std::string body = kMarker;
        EXPECT_TRUE(SendPipeData(base_.c_str(), body.data(), 6, buffer.data(), room));
        EXPECT_EQ(buffer, std::string("abcd\0fg\0", 8).substr(0, room) + std::string(8 - room, '#'));
    }
}

TEST_F(Client, PostsOnlyWhereSomebodyReads) {
    EXPECT_FALSE(channel_.NPPostMessage(std::string("nobody"), "", kUserData));
    Background server = serve([](Peer&) {});
    EXPECT_TRUE(wait_until([&] { return channel_.NPPostMessage(std::string("hi"), "", kUserData); }));
    server.join();
    EXPECT_EQ(request_, kUserMarker + "hi");
    // A reader that never opens its other end holds a post up for a moment only.
    Peer reader(base_);
    reader.open_in(O_RDONLY | O_NONBLOCK);
    const auto start = Clock::now();
    EXPECT_TRUE(channel_.NPPostMessage(std::string("hi"), "", kUserData));
    EXPECT_LT(Clock::now() - start, 10s);
}

// A send on a thread of its own that can be abandoned.
class PendingSend {
  public:
    PendingSend(CNamePipeBase& channel, std::string text)
        : thread_([this, &channel, text = std::move(text)] {
              const relay_hub::StopScope scope(token_);
              result_ = channel.NPSendMessage(text, answer_, "", kCommandData);
              done_ = true;
          }) {}

    // True when the send failed soon, leaving its answer alone.
    bool ends_when_abandoned() {
        token_.stop();
        const bool ended = wait_until([this] { return done_.load(); });
        thread_.join();
        return ended && !result_ && answer_ == "untouched";
    }

  private:
    relay_hub::StopToken token_;
    std::atomic<bool> done_ = false;
    bool result_ = true;
    std::string answer_ = "untouched";
    Background thread_;
};

TEST_F(Client, LeavesEachWaitWhenAbandoned) {
    const auto busy = [this] { return relay_hub::channel_busy(base_); };
    {
        PendingSend unopened(channel_, "nobody reads");
        ASSERT_TRUE(wait_until(busy));
        PendingSend queued(channel_, "waits for the channel");
        EXPECT_TRUE(queued.ends_when_abandoned());
        EXPECT_TRUE(unopened.ends_when_abandoned());
        EXPECT_FALSE(busy());
    }
    Peer peer(base_);
    PendingSend unread(channel_, std::string(5 << 20, 'x'));
    peer.as_server();
    EXPECT_TRUE(unread.ends_when_abandoned());
    peer.close_in();
    peer.close_out();
    PendingSend unanswered(channel_, "no answer");
    (void)peer.as_server().take_request();
    EXPECT_TRUE(unanswered.ends_when_abandoned());
}

TEST_F(Client, TakesNoAnswerOfAnAbandonedRequestForItsOwn) {
    Peer peer(base_);
    PendingSend first(channel_, "first");
    EXPECT_EQ(peer.as_server().take_request(), kMarker + "first");
    EXPECT_TRUE(first.ends_when_abandoned());
    std::string answer;
    Background second([&] { EXPECT_TRUE(send("second", answer)); });
    ASSERT_TRUE(wait_until([this] { return relay_hub::channel_busy(base_); }));
    // Still in the round of the first, as a peer that was slow is.
    peer.answer(frame("of the first"));
    peer.close_in();
    peer.close_out();
    EXPECT_EQ(peer.as_server().take_request(), kMarker + "second");
    peer.answer(frame("of the second"));
    second.join();
    EXPECT_EQ(answer, "of the second");
}

}  // namespace
