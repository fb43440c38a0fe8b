#include "link_engine/command_runner.h"

#include <gtk/gtk.h>
#include <sys/ipc.h>

#include <sstream>

#include "fake_engine.h"
#include "link_engine/Zev_link_op.h"
#include "link_engine/answer_slot.h"
#include "link_engine/confirmation.h"
#include "link_engine/transfer_state.h"
#include "preset_answers.h"
#include "when.h"
#include "wire.h"

namespace test {
namespace {

using namespace relay_hub;

std::string read_text;  // what the last reader found

int read_slot(__send_args*) {
    const char* text = get_xml_string();
    read_text = text ? text : "(none)";
    return 7;
}

class CommandRunner : public testing::Test {
  protected:
    CommandRunner() {
        CleanUpInformationVar();
        read_text.clear();
    }
    ~CommandRunner() override {
        allow_requests(true);
        accept_confirmations_again();
        set_user_questions(nullptr);
        release_xml_string();
    }
    __send_args args_;
};

int start_answering(void* args) {
    set_xml_string("outer");
    set_atomic(&static_cast<__send_args*>(args)->state, kStateFinished);
    return 0;
}

// Ends once the test has set the command code of its block to 100.
int start_waiting_for_test(void* args) {
    auto* block = static_cast<__send_args*>(args);
    wait_until([block] { return get_atomic(&block->command_code) == 100; });
    return start_answering(args);
}

TEST_F(CommandRunner, NestedRunsReadTheirOwnAnswersAndTheSlotSurvives) {
    FakeEngine engine([](const std::string&) { return "inner"; });
    std::vector<std::string> texts;
    set_xml_string("before");
    const When nested([] { return true; },
                      [&] {
                          __send_args block;
                          EXPECT_EQ(send_command_t(set_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, read_slot, &block), 7);
                          texts.push_back(read_text);
                          set_atomic(&args_.command_code, 100);
                      });
    EXPECT_EQ(send_command_t(start_waiting_for_test, read_slot, &args_), 7);
    texts.push_back(read_text);
    EXPECT_THAT(texts, testing::ElementsAre("inner", "outer"));
    EXPECT_STREQ(get_xml_string(), "before");
    EXPECT_EQ(send_command_t(start_answering, nullptr, &args_), 0);
}

TEST_F(CommandRunner, ATimeLimitEndsASilentRequestWithoutSpinning) {
    FakeEngine engine([](const std::string&) { return std::nullopt; });
    args_.timeout_seconds = 0;
    args_.command_code = kCodeHeartbeat;
    testing::internal::CaptureStdout();
    const double before = used_seconds(CLOCK_THREAD_CPUTIME_ID);
    EXPECT_EQ(send_command_t(set_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, read_slot, &args_), 7);
    EXPECT_LT(used_seconds(CLOCK_THREAD_CPUTIME_ID) - before, 0.3) << "the second's wait spins";
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::ContainsRegex("monitor NP_VAL_CMD_CHECK_FOR_HEARTBEAT\tsecond:[1-9].00\n"
                                       "(.*\n)*terminated of thread!\n"));
    EXPECT_EQ(read_text, "");
    EXPECT_EQ(args_.state, kStateFinished);
}

TEST_F(CommandRunner, AClosingProgramEndsRunningAndLaterRequests) {
    const When closing([] { return true; }, [] { allow_requests(false); });
    EXPECT_EQ(send_command_t([](void*) { return 0; }, read_slot, &args_), 7);
    EXPECT_EQ(read_text, "(none)");
    FakeEngine engine([](const std::string&) { return "answer"; });
    EXPECT_EQ(send_command_t(set_NP_VAL_CMD_RENAME, read_slot, &args_), 7);
    EXPECT_EQ(read_text, "(none)");
    allow_requests(true);
    args_.state = TASK_CANCEL;
    EXPECT_EQ(send_command_t(set_NP_VAL_CMD_RENAME, read_slot, &args_), 7);
    EXPECT_EQ(read_text, "(none)") << "a request that was cancelled before it began is not sent";
    EXPECT_TRUE(engine.frames().empty());
}

TEST_F(CommandRunner, CancelLeavesAHungEngineButWaitsForALivingOne) {
    const Listener listener;
    for (const bool living : {false, true}) {
        const auto grace = living ? 1000ms : 50ms;
        args_.cancel_grace = grace;
        FakeEngine engine([&](const std::string&) -> std::optional<std::string> {
            if (!living || !wait_until([&] { return get_atomic(&args_.state) == TASK_CANCEL; }))
                return std::nullopt;
            for (const auto end = Clock::now() + 2 * grace; Clock::now() < end;)
                (void)listener.call_back("<ZEVMSG><NP_Cmd>none</NP_Cmd></ZEVMSG>");
            return "cancelled";
        });
        args_.state = kStateRunning;
        const When cancel([&] { return engine.frames().size() == 1; }, [&] { cancel_atomic(&args_.state); });
        send_command_t(set_NP_VAL_CMD_RENAME, read_slot, &args_);
        EXPECT_EQ(read_text, living ? "cancelled" : "");
    }
}

std::string question(const std::string& name) {
    return request("Get_Confirmation_For_Copy",
                   field("NP_Copy_Confirmation_Message", "&dq;" + name + "&dq; %s?"));
}

std::string answer_of(const std::string& names) {
    std::string fields;
    std::istringstream words(names);
    for (std::string name; words >> name;)
        fields += field("NP_Copy_Confirmation_" + name, "Y");
    return message(fields);
}

TEST_F(CommandRunner, QuestionsAreServedForTheCopyWhicheverRunTurnsTheLoop) {
    using Fields = std::string;
    const std::tuple<std::vector<int>, Fields, Fields, Fields, Fields, int> rows[] = {
        {{REQUEST_YES, REQUEST_NO}, "Yes", "No", "Yes", "No", kStateFinished},
        {{REQUEST_NO, REQUEST_YES}, "No", "Yes", "No", "Yes", kStateFinished},
        {{REQUEST_NO, REQUEST_ALL}, "No", "Replace_All", "No", "Yes", kStateFinished},
        {{REQUEST_YES, kRequestSkipAll}, "Yes", "No No_To_All", "Yes", "No", kStateFinished},
        {{kRequestSkipAll}, "No No_To_All", "No No_To_All", "No No_To_All", "No No_To_All", kStateFinished},
        {{REQUEST_ALL}, "Replace_All", "Replace_All", "Replace_All", "Replace_All", kStateFinished},
        {{REQUEST_CANCEL, REQUEST_CANCEL}, "Cancel", "Cancel", "", "", TASK_CANCEL},
        {{-4, -4}, "", "", "No", "No", kStateFinished}};
    const Listener listener;
    for (const auto& [responses, first, second, first_again, second_again, state] : rows) {
        SCOPED_TRACE(testing::Message() << first << ", " << second);
        CleanUpInformationVar();
        PresetAnswers user;
        user.answers = responses;
        set_user_questions(&user);
        std::atomic<bool> nested = false;
        std::vector<std::string> answers;
        FakeEngine engine([&](const std::string& request) {
            if (request.find("NP_Cmd_Remote_to_Local") == std::string::npos)
                return "probe";
            wait_until([&] { return nested.load(); });
            answers = {listener.call_back(question("a")), listener.call_back(question("b"))};
            return "copied";
        });
        __send_args copy;
        copy.parent_window = reinterpret_cast<GtkWidget*>(&copy);
        const When probe([&] { return engine.frames().size() == 1; },
                         [&] {
                             __send_args block;
                             nested = true;
                             send_command_t(set_NP_VAL_CMD_CHECK_REMOTE_ONLINE, read_slot, &block);
                             EXPECT_EQ(read_text, "probe");
                         });
        send_command_t(set_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL, read_slot, &copy);
        EXPECT_EQ(read_text, "copied");
        EXPECT_THAT(answers, testing::ElementsAre(answer_of(first), answer_of(second)));
        for (const OverwriteQuestion& asked : user.questions)
            EXPECT_EQ(asked.parent, copy.parent_window);
        EXPECT_EQ(copy.state, state);
        copy.sent_again = true;
        send_command_t(set_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL, read_slot, &copy);
        if (state == TASK_CANCEL)
            continue;
        EXPECT_THAT(answers, testing::ElementsAre(answer_of(first_again), answer_of(second_again)));
        ASSERT_EQ(user.questions.size(), responses.size());
        EXPECT_EQ(copy.left_unasked.size(), first.empty() ? 2 : 0) << "told: nobody was asked";
        EXPECT_EQ(user.questions.back().text, responses.size() > 1 ? "\"b\" %s?" : "\"a\" %s?");
    }
}

TEST_F(CommandRunner, AQuestionNeverHoldsTheListenerWhenNobodyCanAnswer) {
    const Listener listener;
    const std::string none = "<ZEVMSG></ZEVMSG>";
    EXPECT_EQ(listener.call_back(question("a")), none) << "no request runs";
    std::atomic<bool> engine_answered = false;
    PresetAnswers user;
    user.answers = {REQUEST_YES};
    user.on_question = [&engine_answered] {
        end_confirmations();
        EXPECT_TRUE(wait_until([&engine_answered] { return engine_answered.load(); }));
    };
    set_user_questions(&user);
    std::string answer;
    FakeEngine engine([&](const std::string&) {
        answer = listener.call_back(question("a"));
        engine_answered = true;
        return "copied";
    });
    send_command_t(set_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE, read_slot, &args_);
    EXPECT_EQ(answer, none) << "the program closes";
    EXPECT_EQ(listener.call_back(question("a")), none);
}

int leave_in_shared_memory(void* text) {
    int id = 0;
    void* address = create_shared_memory(IPC_PRIVATE, 64, &id);
    if (address != nullptr)
        g_strlcpy(static_cast<char*>(address), static_cast<const char*>(text), 64);
    return id;
}

int take_from_shared_memory(void* text) {
    void* address = attache_shared_memory(get_shared_mem_id());
    if (address == nullptr)
        return -1;
    char* begin = static_cast<char*>(address) - 1;
    const bool same = std::strcmp(begin, static_cast<const char*>(text)) == 0;
    return destroy_shared_memory(begin, get_shared_mem_id()) == 0 && same ? 7 : -1;
}

TEST_F(CommandRunner, a_child_process_leaves_its_answer_in_shared_memory) {
    int word_id = 0;
    g_shm_id_ptr = static_cast<int*>(create_shared_memory(IPC_PRIVATE, sizeof(int), &word_id));
    ASSERT_NE(g_shm_id_ptr, nullptr);
    char text[] = "an answer";
    EXPECT_EQ(send_command(leave_in_shared_memory, take_from_shared_memory, text), 7);
    EXPECT_EQ(attache_shared_memory(get_shared_mem_id()), nullptr) << "it is gone";
    EXPECT_EQ(send_command([](void*) { return 3; }, nullptr, nullptr), 0);
    EXPECT_EQ(get_shared_mem_id(), 3);
    EXPECT_EQ(destroy_shared_memory(g_shm_id_ptr, word_id), 0);
    g_shm_id_ptr = nullptr;
    EXPECT_EQ(create_shared_memory(IPC_PRIVATE, 0, &word_id), nullptr);
}

}  // namespace
}  // namespace test
