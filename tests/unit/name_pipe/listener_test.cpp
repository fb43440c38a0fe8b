#include "name_pipe/name_pipe_base.h"
#include "support.h"

namespace {

using namespace test;

std::atomic<bool> provider_held = false;
std::atomic<int> provider_calls = 0;

// Answers "echo:" and what came behind the marker; nothing to an empty body, as the dispatcher does.
unsigned int echo_provider(char* body, unsigned int length, char* answer, unsigned int size) {
    ++provider_calls;
    wait_until([] { return !provider_held; }, 20s);
    if (length == 0)
        return 0;
    const std::string text = "echo:" + std::string(body, length).substr(std::min(length, 6U));
    if (text.size() < size)
        std::copy(text.begin(), text.end(), answer);
    return 1;
}

class Listener : public testing::Test {
  protected:
    void SetUp() override {
        provider_held = false;
        provider_calls = 0;
        CNamePipeBase::SetupParam(base_.c_str(), kPipeBufferSize, kPipeBufferSize);
        CNamePipeBase::SetServiceProvider(echo_provider);
        ASSERT_TRUE(service_.ListenForService());
        ASSERT_TRUE(wait_until([this] { return std::filesystem::exists(base_ + "_OUT"); }));
    }
    void TearDown() override {
        EXPECT_TRUE(service_.ExitListenService());
        CNamePipeBase::SetupParam("/tmp/ZEV_Korvale", kPipeBufferSize, kPipeBufferSize);
    }

    std::string ask(const std::string& body) {
        Peer client(base_);
        client.as_client().request(frame(body));
        return client.take_answer();
    }

    Sandbox folder_;
    std::string base_ = folder_.at("notify");
    CNamePipeBase service_;
};

TEST_F(Listener, AnswersWithWholePaddedFramesWithoutLeftovers) {
    EXPECT_FALSE(service_.ListenForService()) << "one listener is enough";
    EXPECT_EQ(mode_of(base_ + "_IN"), 0777U) << "the mask cuts nothing off";
    for (const std::string& text : {std::string(100000, 'y'), std::string("short"), std::string()}) {
        const std::string answer = ask(kMarker + text);
        ASSERT_EQ(answer.size(), kPipeBufferSize);
        EXPECT_TRUE(answer == ("echo:" + text).append(kPipeBufferSize - 5 - text.size(), '\0'));
    }
}

TEST_F(Listener, GivesTheProviderWhatTheChannelDoesNotServe) {
    const std::string terminate_text = "NP_Cmd_Iterminate_Listen_Thread";
    const std::pair<std::string, std::string> cases[] = {
        {kUserMarker + "user", "echo:user"},
        {kMarker + terminate_text, "echo:" + terminate_text},
        {kMarker + "<ZEVMSG><NP_Cmd>Other</NP_Cmd></ZEVMSG>", "echo:<ZEVMSG><NP_Cmd>Other</NP_Cmd></ZEVMSG>"},
        {kUserMarker + "<ZEVMSG><NP_Cmd>" + terminate_text + "</NP_Cmd></ZEVMSG>",
         "echo:<ZEVMSG><NP_Cmd>" + terminate_text + "</NP_Cmd></ZEVMSG>"},
        {kMarker.substr(0, 4), "echo:"},
        {"", ""},  // and not the answer before
    };
    for (const auto& [body, expected] : cases)
        EXPECT_STREQ(ask(body).c_str(), expected.c_str()) << body;
}

TEST_F(Listener, OutlivesClientsThatVanish) {
    EXPECT_STREQ(ask(kMarker + "first").c_str(), "echo:first");
    const std::string sent[] = {"", "\x05", length_field(100), length_field(0xFFFFFFFF),
                                frame("half").substr(0, 6)};
    for (const std::string& bytes : sent) {
        Peer(base_).open_in(O_WRONLY);
        Peer bad(base_);
        bad.as_client().request(bytes);
        bad.close_in();
        EXPECT_STREQ(bad.take_answer().c_str(), bytes.size() > 4 ? "echo:" : "") << bytes.size();
        EXPECT_STREQ(ask(kMarker + "next").c_str(), "echo:next") << bytes.size();
    }
}

TEST_F(Listener, AnswersAClientThatOpensItsOtherEndLate) {
    Peer late(base_);
    late.open_in(O_WRONLY).request(frame(kMarker + "late"));
    ASSERT_TRUE(wait_until([] { return provider_calls == 1; }));
    late.close_in();
    EXPECT_STREQ(late.open_out(O_RDONLY).take_answer().c_str(), "echo:late");
}

TEST_F(Listener, GivesASlowClientThreeSecondsInAll) {
    for (const bool drips : {false, true}) {
        Peer slow(base_);
        slow.as_client();
        const auto start = Clock::now();
        Background dripping([&](const std::stop_token& stop) {
            for (const char byte : frame(std::string(1000, 'd'))) {
                if (!drips || stop.stop_requested())
                    return;
                slow.request({byte});
                std::this_thread::sleep_for(700ms);
            }
        });
        EXPECT_EQ(slow.take_answer(), "");
        const auto held = Clock::now() - start;
        EXPECT_GT(held, 2500ms) << drips;
        EXPECT_LT(held, 10s) << drips;
        dripping.request_stop();
        dripping.join();
        slow.close_in();
    }
    Peer large(base_);
    large.as_client().request(length_field(17U << 20) + std::string(1000, 'x'));
    const auto start = Clock::now();
    EXPECT_EQ(large.take_answer(), "");
    EXPECT_LT(Clock::now() - start, 2500ms);
    large.close_in();
    EXPECT_STREQ(ask(kMarker + "next").c_str(), "echo:next");
}

TEST_F(Listener, ResetsItsParametersAndCutsNoAnswer) {
    EXPECT_EQ(
        ask(kMarker + "<ZEVMSG><NP_Cmd>NP_Cmd_ResetPipeParams</NP_Cmd><T6>4096</T6><T7>1</T7></ZEVMSG>"),
        "<ZEVMSG><T1>NP_Exe_Result_Success</T1></ZEVMSG>");
    EXPECT_EQ(CNamePipeBase::m_dwNPInputBufferSize, 4096U);
    EXPECT_EQ(CNamePipeBase::m_dwNPOutputBufferSize, 1U);
    ASSERT_TRUE(wait_until([this] { return service_.ListenForService(); }));
    EXPECT_EQ(ask(kMarker + "whole"), "echo:whole");
    std::string answer;
    CNamePipeBase channel;
    EXPECT_TRUE(channel.NPSendMessage(std::string("all"), answer, base_, kCommandData));
    EXPECT_EQ(answer, "echo:all");
    (void)ask(kMarker +
              "<ZEVMSG><NP_Cmd>NP_Cmd_ResetPipeParams</NP_Cmd><T5>/tmp/next</T5><T7>0</T7></ZEVMSG>");
    EXPECT_TRUE(service_.ExitListenService());
    EXPECT_EQ(CNamePipeBase::m_strPipeName, "/tmp/next");
    EXPECT_EQ(CNamePipeBase::m_dwNPOutputBufferSize, 1U) << "of a size that is none";
}

std::atomic<int> ends_by_command = 0;

TEST_F(Listener, EndsWithoutAnAnswerWhenToldTo) {
    CNamePipeBase::SetListenerEndedByCommand([] { ++ends_by_command; });
    EXPECT_EQ(ask(kMarker + "<ZEVMSG><NP_Cmd>NP_Cmd_Iterminate_Listen_Thread</NP_Cmd></ZEVMSG>"), "");
    EXPECT_TRUE(wait_until([] { return ends_by_command == 1; }));
    EXPECT_TRUE(wait_until([this] { return service_.ListenForService(); }));
    EXPECT_TRUE(service_.ExitListenService());
    EXPECT_EQ(ends_by_command, 1) << "an exit that the program asks for is none";
    CNamePipeBase::SetListenerEndedByCommand(nullptr);
}

TEST_F(Listener, ExitGivesUpOnAProviderThatWaits) {
    provider_held = true;
    Peer client(base_);
    client.as_client().request(frame(kMarker));
    ASSERT_TRUE(wait_until([] { return provider_calls == 1; }));
    const auto start = Clock::now();
    EXPECT_FALSE(service_.ExitListenService());
    EXPECT_LT(Clock::now() - start, 10s);
    provider_held = false;
    EXPECT_STREQ(client.take_answer().c_str(), "echo:");
}

}  // namespace
