#include "link_engine/engine_callbacks.h"

#include "fake_engine.h"
#include "link_engine/transfer_state.h"
#include "wire.h"

namespace test {
namespace {

using namespace relay_hub;

int offline_calls = 0;

std::string call_back(const std::string& command, const std::string& fields = "") {
    return command_body(request(command, fields));
}

void nothing() {}

TEST(EngineCallbacks, EveryAnswerHasItsExactBytes) {
    const std::tuple<const char*, std::string, std::string, void (*)(), void (*)()> rows[] = {
        {"no cancel", call_back("Check_For_User_Click_Cancel"), message(field("NP_User_Click_Cancel", "N")),
         nothing, [] { EXPECT_EQ(get_change_flag(), 4); }},
        {"cancel", call_back("Check_For_User_Click_Cancel"), message(field("NP_User_Click_Cancel", "Y")),
         [] { SetUserClickCancel('Y'); }, nothing},
        {"progress",
         call_back("Copy_Progress_Status_Notify",
                   "<NP_Copy_Process_Progress_Info>C:\\a &amp; \xC3\xA9</NP_Copy_Process_Progress_Info>"
                   "<NP_Copy_Process_Elasp_Time>00:01</NP_Copy_Process_Elasp_Time>"
                   "<NP_Copy_Process_Progress_Bar_Total>1e999</NP_Copy_Process_Progress_Bar_Total>"
                   "<NP_Copy_Process_Progress_Bar_Current>12.5%</NP_Copy_Process_Progress_Bar_Current>"),
         "", nothing,
         [] {
             const TransferSnapshot now = transfer_snapshot();
             EXPECT_EQ(GetProgressInfo(), "C:\\a & \xC3\xA9");
             EXPECT_EQ(now.elapsed_time, "00:01");
             EXPECT_EQ(GetCurrentPercentage(), 12.5F);
             EXPECT_EQ(GetTotalPercent(), 0) << "an infinite total cannot be shown";
             EXPECT_FALSE(now.being_written);
         }},
        {"progress while one is written",
         call_back("Copy_Progress_Status_Notify", field("NP_Copy_Process_Elasp_Time", "9")), "",
         [] { SetEnableInformation(1); }, [] { EXPECT_EQ(GetProcessElapseTime(), ""); }},
        {"box", call_back("Show_Message_Box", field("NP_Message_Box_Content", "%s &lt;b&gt;")), "", nothing,
         [] { EXPECT_EQ(GetShowMessageBox(), "%s <b>"); }},
        {"remote request", call_back("Handle_Remote_Request"), "<ZEVMSG><T1>NP_Exe_Result_Fail</T1></ZEVMSG>",
         nothing, nothing},
        {"offline", call_back("Remote_Is_Offline"), message(kSuccess), nothing,
         [] {
             EXPECT_EQ(offline_calls, 1);
             EXPECT_EQ(get_offline_interrupt(), 1);
         }},
        {"unknown", call_back("Else"), "", nothing, nothing},
        {"not a document", command_body("<<<"), "", nothing, nothing},
        {"no marker", std::string("\xBA\x33\x78\xA9\x00\x01", 6) + "<ZEVMSG></ZEVMSG>", "", nothing,
         nothing}};
    const Listener listener;
    set_remote_offline_handler([] { ++offline_calls; });
    for (const auto& [name, body, answer, prepare, check] : rows) {
        SCOPED_TRACE(name);
        CleanUpInformationVar();
        prepare();
        std::string padded = answer;
        padded.resize(Listener::kAnswerSize, '\0');
        EXPECT_EQ(listener.exchange(body), padded);
        check();
    }
    set_remote_offline_handler(nullptr);
    set_offline_interrupt(0);
}

TEST(EngineCallbacks, AnswersThatDoNotFitAndShortBodiesLeaveTheBufferAlone) {
    std::string body = call_back("Handle_Remote_Request");
    const std::size_t needed = std::string("<ZEVMSG><T1>NP_Exe_Result_Fail</T1></ZEVMSG>").size() + 1;
    for (const std::size_t size : {needed, needed + 1}) {
        std::string answer(size, '\0');
        EXPECT_EQ(ServiceProvider(body.data(), static_cast<unsigned int>(body.size()), answer.data(),
                                  static_cast<unsigned int>(size)),
                  1U);
        EXPECT_EQ(answer[0], size == needed ? '\0' : '<');
    }
    char marker[] = "\xC9\xBB";
    EXPECT_EQ(ServiceProvider(marker, 2, nullptr, 0), 1U);
    EXPECT_EQ(ServiceProvider(marker, 0, nullptr, 0), 0U);
}

TEST(EngineCallbacks, AConfirmationBesideNoRequestGetsTheValueThatIsSet) {
    CleanUpInformationVar();
    std::string body = call_back("Get_Confirmation_For_Copy"), answer(1024, '\0');
    std::jthread listener(
        [&] { ServiceProvider(body.data(), static_cast<unsigned int>(body.size()), answer.data(), 1024); });
    ASSERT_TRUE(wait_until([] { return GetInformationRequest() == kConfirmationWanted; }));
    SetConfirmValue(kConfirmNo);
    SetInformationRequest(kNoRequest);
    listener.join();
    EXPECT_STREQ(answer.c_str(), "<ZEVMSG><NP_Copy_Confirmation_No>Y</NP_Copy_Confirmation_No></ZEVMSG>");
    CleanUpInformationVar();
}

TEST(TransferState, LongTextsRunOnIntoTheFieldBehindAndLongerOnesAreDropped) {
    const std::tuple<std::size_t, std::size_t, std::size_t> rows[] = {
        {1023, 1023, 0}, {1500, 1500, 476}, {2047, 2047, 1023}, {2048, 0, 0}};
    for (const auto& [length, message_length, confirm_length] : rows) {
        CleanUpInformationVar();
        SetShowMessageBox(std::string(length, 'm').c_str());
        EXPECT_EQ(GetDialogMessage().size(), message_length);
        EXPECT_EQ(GetConfirmMessage().size(), confirm_length);
    }
    CleanUpInformationVar();
    SetConfirmMessage(std::string(2047, 'Y').c_str());
    EXPECT_EQ(GetConfirmMessage().size(), 2047U);
    EXPECT_EQ(IsUserClickCancel(), -1) << "the cancel flag stands behind the text";
    CleanUpInformationVar();
}

}  // namespace
}  // namespace test
