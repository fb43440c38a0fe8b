#include "engine/engine_server.h"

#include <sys/ioctl.h>

#include <csignal>
#include <latch>
#include <semaphore>

#include "engine/wire_text.h"
#include "engine_sandbox.h"
#include "name_pipe/name_pipe_base.h"
#include "unit/name_pipe/support.h"
#include "wire.h"

namespace {
std::atomic<std::size_t> largest_allocation = SIZE_MAX;
}

[[gnu::noinline]] void* operator new(std::size_t size) {
    void* memory = size <= largest_allocation ? std::malloc(size) : nullptr;
    return memory != nullptr ? memory : throw std::bad_alloc();
}
// The sanitizers' own form of this would not go with the delete below.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace relay_hub::engine {
namespace {

const std::string kHeartbeat = test::request("Check_For_Heartbeat");
const std::string kAlive = message(field("NP_Server_Is_Live", "Y"));
const std::string kListRoot = test::request("Get_File_List", field("TG", "C:\\"));

std::string command(const std::string& text) {
    return frame(kMarker + text);
}

class Serving : public EngineSandbox {
  protected:
    Serving() { (void)std::signal(SIGPIPE, SIG_IGN); }
    ~Serving() override {
        if (server_)
            server_->stop();
        if (thread_.joinable())
            thread_.join();
    }

    void start(std::chrono::milliseconds delay = std::chrono::milliseconds(0)) {
        handlers_ = std::make_shared<RequestHandlers>(remote_, local_, front_end_, remote_online_);
        server_ = std::make_unique<EngineServer>(
            ServerSettings{base_, delay, 0, true}, [this] { return handlers_; }, front_end_, stop_);
        std::string why;
        ASSERT_TRUE(server_->create_pipes(why)) << why;
        thread_ = std::thread([this] { server_->run(); });
    }

    std::string ask(const std::string& bytes) {
        Peer client(base_);
        client.as_client().request(bytes);
        return client.take_answer();
    }

    std::string base_ = at("command");
    std::string notify_ = at("notify");
    StopToken stop_;
    std::atomic<bool> remote_online_ = true;
    FrontEndLink front_end_{notify_, stop_, remote_online_};
    std::shared_ptr<RequestHandlers> handlers_;
    std::unique_ptr<EngineServer> server_;
    std::thread thread_;
};

TEST_F(Serving, APostingClient) {
    start();
    // It does not wait for the engine to be through with the round before.
    CNamePipeBase client(base_, kPipeBufferSize, kPipeBufferSize);
    const std::string exit = test::request("Exit_Link_Engine");
    EXPECT_TRUE(wait_until([&] { return client.NPPostMessage(exit, "", kCommandData); }));
    EXPECT_TRUE(wait_until([&] { return server_->ended(); }));
    EXPECT_TRUE(stop_.stopped());
}

TEST_F(Serving, ClientsThatMisbehaveCostOneRound) {
    start();
    const std::string request = command(kHeartbeat);
    for (const std::string& bytes :
         {std::string(), std::string("\x10"), request.substr(0, 20), std::string(4, '\0'),
          std::string("\6\0\0\0abcdef", 10), std::string(4, '\xff')}) {
        Peer(base_).as_client().request(bytes);
        // What follows at once may still be taken for the rest of a broken frame, but nothing after that.
        std::string answer;
        for (int attempt = 0; attempt < 2 && answer != kAlive; ++attempt)
            answer = ask(request);
        EXPECT_EQ(answer, kAlive) << bytes.size();
    }
}

TEST_F(Serving, ARequestThatIsTooLongCostsNeitherTheEngineNorTheNextClient) {
    start();
    constexpr std::size_t kLongest = std::size_t{64} << 20U;
    const std::tuple<std::size_t, std::size_t, bool> cases[] = {
        {kLongest, SIZE_MAX, true}, {kLongest + 1, SIZE_MAX, false}, {kLongest, 1U << 20U, false}};
    for (const auto& [size, memory, answered] : cases) {
        const std::string request = command(std::string(size - kMarker.size(), 'x'));
        largest_allocation = memory;
        Peer client(base_);
        client.as_client().request(request);
        EXPECT_EQ(client.take_answer().find("Fail") != std::string::npos, answered);
        largest_allocation = SIZE_MAX;
        client.close_in();
        EXPECT_EQ(ask(command(kHeartbeat)), kAlive) << size << " " << memory;
    }
}

TEST_F(Serving, TheNextClientNeverGetsAnAnswerThatWasGivenUp) {
    start(std::chrono::milliseconds(60000));
    {
        Peer client(base_);
        client.as_client().request(command(kListRoot));
        // Leaves once the engine has taken the request.
        const FileDescriptor in(open((base_ + "_IN").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        EXPECT_TRUE(wait_until([&] {
            int queued = 1;
            return ioctl(in.get(), FIONREAD, &queued) == 0 && queued == 0;
        }));
    }
    EXPECT_EQ(ask(command(kHeartbeat)), kAlive);
}

class HangingTree : public FolderFileSystem {
  public:
    using FolderFileSystem::FolderFileSystem;
    Error list(const std::string& /*folder*/, Listing& /*listing*/) override {
        listing.release();
        freed.wait();
        return EIO;
    }
    std::counting_semaphore<> listing{0};
    std::latch freed{1};
};

// The real listener of the front end with a preset way to answer.
class CallingBack : public Serving {
  protected:
    static unsigned int provide(char* body, unsigned int length, char* answer, unsigned int /*size*/) {
        const std::string message(body + kCommandMarker.size(), length - kCommandMarker.size());
        ++calls;
        last_message = message;
        const std::string& text = cancelled ? kCancelled : next_answer;
        text.copy(answer, text.size());
        return 1;
    }
    void listen() {
        calls = 0;
        cancelled = false;
        CNamePipeBase::SetupParam(notify_.c_str(), kPipeBufferSize, kPipeBufferSize);
        CNamePipeBase::SetServiceProvider(provide);
        ASSERT_TRUE(listener_.ListenForService());
        ASSERT_TRUE(wait_until([this] { return exists(notify_ + "_OUT"); }));
    }
    ~CallingBack() override { listener_.ExitListenService(); }

    CNamePipeBase listener_;
    static inline const std::string kCancelled = message(field("NP_User_Click_Cancel", "Y"));
    static inline std::atomic<int> calls = 0;
    static inline std::atomic<bool> cancelled = false;
    static inline std::string next_answer;
    static inline std::string last_message;
};

TEST_F(CallingBack, AnswersOfAPaddedFrame) {
    const std::pair<const char*, OverwriteAnswer> cases[] = {
        {"NP_Copy_Confirmation_Yes", OverwriteAnswer::kYes},
        {"NP_Copy_Confirmation_No", OverwriteAnswer::kNo},
        {"NP_Copy_Confirmation_No_To_All", OverwriteAnswer::kNoToAll},
        {"NP_Copy_Confirmation_Replace_All", OverwriteAnswer::kReplaceAll},
        {"NP_Copy_Confirmation_Cancel", OverwriteAnswer::kCancel},
        {"Other", OverwriteAnswer::kNone}};
    listen();
    for (const auto& [name, answer] : cases) {
        next_answer = message(field(name, "Y"));
        EXPECT_EQ(front_end_.confirm("<a>"), answer) << name;
    }
    for (const char flag : {'N', 'Y'}) {
        next_answer = message(field("NP_User_Click_Cancel", {flag}));
        EXPECT_EQ(front_end_.cancelled(), flag == 'Y');
    }
    next_answer.clear();
    EXPECT_EQ(front_end_.confirm("?"), OverwriteAnswer::kNone);
    EXPECT_FALSE(front_end_.cancelled());

    // In a row, as fast as can be: none is lost.
    for (int i = 0; i < 100; ++i)
        front_end_.progress({"C:\\a & b", 7, 9, "7 of 9 items"});
    EXPECT_EQ(calls, 110);
    EXPECT_EQ(last_message,
              "<ZEVMSG><NP_Cmd>NP_Cmd_Copy_Progress_Status_Notify</NP_Cmd>"
              "<NP_Copy_Process_Progress_Info>C:\\a &amp; b</NP_Copy_Process_Progress_Info>"
              "<NP_Copy_Process_Elasp_Time>7 of 9 items</NP_Copy_Process_Elasp_Time>"
              "<NP_Copy_Process_Progress_Bar_Total>9</NP_Copy_Process_Progress_Bar_Total>"
              "<NP_Copy_Process_Progress_Bar_Current>7</NP_Copy_Process_Progress_Bar_Current></ZEVMSG>");
    // What the user says to a question that was taken back is no sign that the news has arrived.
    next_answer = message(field("NP_Copy_Confirmation_Yes", "Y"));
    EXPECT_FALSE(front_end_.tell_remote_is_offline());
    next_answer = message(kSuccess);
    EXPECT_TRUE(front_end_.tell_remote_is_offline());
    EXPECT_EQ(last_message, test::request("Remote_Is_Offline"));
}

// A file that hangs holds up neither the next request, after its client left or its user cancelled, nor the
// end.
TEST_F(CallingBack, AFileThatHangsIsLeftBehind) {
    TreeRoot root(FileDescriptor(open(served_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)), Reach::kBeneath);
    auto tree = std::make_unique<HangingTree>(std::move(root), Style::kWindows);
    HangingTree& hanging = *tree;
    remote_ = std::move(tree);
    make_folder("served/d");
    next_answer = message(field("NP_User_Click_Cancel", "N"));
    listen();
    start();
    {
        Peer leaving(base_);
        leaving.as_client().request(command(kListRoot));
        hanging.listing.acquire();
    }
    EXPECT_EQ(ask(command(kHeartbeat)), kAlive);
    Peer cancelling(base_);
    cancelling.as_client().request(command(test::request(
        "Remote_to_Local", field("T8", field("Line", field("T9", mine_) + field("TA", "C:\\d"))))));
    hanging.listing.acquire();
    cancelled = true;
    EXPECT_EQ(cancelling.take_answer(), success_text());
    EXPECT_EQ(ask(command(kHeartbeat)), kAlive);
    Peer(base_).as_client().request(command(kListRoot));
    hanging.listing.acquire();
    EXPECT_FALSE(server_->stop(50ms));
    hanging.freed.count_down();
    EXPECT_TRUE(wait_until([this] { return server_->stop(10s); }));
}

TEST_F(CallingBack, ThePipesAreClosedToOthersAndLongAnswersAreNotBelieved) {
    for (const char* end : {"_IN", "_OUT"}) {
        ASSERT_EQ(mkfifo((notify_ + end).c_str(), 0600), 0);
        ASSERT_EQ(chmod((notify_ + end).c_str(), 0777), 0);
    }
    start();
    EXPECT_EQ(ask(command(kHeartbeat)), kAlive);
    EXPECT_EQ(mode_of(notify_ + "_IN"), 0600U);
    EXPECT_EQ(mode_of(notify_ + "_OUT"), 0600U);
    Background listener([this] {
        Peer peer(notify_);
        (void)peer.as_server().take_request();
        peer.answer(length_field(0xFFFFFFFF) + std::string(100000, 'x'));
        peer.await_reader_gone();
    });
    const auto begin = Clock::now();
    EXPECT_EQ(front_end_.confirm("?"), OverwriteAnswer::kNone);
    EXPECT_LT(Clock::now() - begin, 2900ms);
}

TEST_F(CallingBack, AQuestionEndsWithItsReasonAndNothingHangsWithoutAFrontEnd) {
    EXPECT_EQ(front_end_.confirm("no pipes"), OverwriteAnswer::kNone);
    EXPECT_FALSE(front_end_.cancelled());
    for (const char* end : {"_IN", "_OUT"})
        ASSERT_EQ(mkfifo((notify_ + end).c_str(), 0777), 0);
    EXPECT_FALSE(front_end_.tell_remote_is_offline());
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"front end killed", [] {}},
        {"remote offline", [this] { remote_online_ = false; }},
        {"engine stopped", [this] { stop_.stop(); }}};
    for (const auto& [what, end] : cases) {
        std::atomic<bool> answered = false;
        std::thread asking([&, what = what] {
            EXPECT_EQ(front_end_.confirm("?"), OverwriteAnswer::kNone) << what;
            answered = true;
        });
        Peer listener(notify_);
        listener.as_server().await_request();
        EXPECT_FALSE(answered);
        listener.close_in();
        end();
        if (remote_online_ && !stop_.stopped())
            listener.close_out();
        asking.join();
        remote_online_ = true;
    }
}

// Also where the link is back before all of it has ended.
TEST_F(CallingBack, ACopyThatEndsWithTheLinkOrTheEngineIsNoSuccess) {
    RequestHandlers handlers(remote_, local_, front_end_, remote_online_);
    const std::string line = field("T9", make_file("mine/file")) + field("TA", "C:\\");
    const std::string items = field("NP_Copy_Is_Move", "Y") + field("T8", field("Line", line));
    for (const bool with_engine : {false, true}) {
        remote_online_ = with_engine;
        if (with_engine)
            stop_.stop();
        EXPECT_TRUE(front_end_.cancelled());
        remote_online_ = true;
        const std::string reply = handlers.handle(test::request("Local_To_Remote", items)).text;
        for (const std::string& part : {std::string("IDS_COPY_WENT_OFFLINE"), field("NP_Move_Arrived", "N")})
            EXPECT_NE(reply.find(part), std::string::npos) << reply;
        front_end_.begin_request();
    }
}

}  // namespace
}  // namespace relay_hub::engine
