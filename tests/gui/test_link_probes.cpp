#include <pthread.h>

#include "gui/pane_fixture.h"
#include "link_engine/message_names.h"
#include "side_function/Zev_right_side.h"
#include "side_function/link_probes.h"
#include "util/job_state.h"
#include "window/jobs.h"

namespace {

using namespace gui_test;

std::string flag(const char* tag, const char* value) {
    return std::string("<") + tag + ">" + value + "</" + tag + ">";
}

TEST_F(Panes, ProbesJudgeTheEnginesAnswer) {
    const std::string device = flag(wire::kDeviceOn, "Y"), application = flag(wire::kApplicationOn, "Y");
    const struct {
        int (*probe)();
        const char* command;
        std::string answer;
        int result;
    } cases[] = {
        {link_engine_heartbeat, wire::kCheckForHeartbeat, flag(wire::kServerIsLive, "Y"), 0},
        {link_engine_heartbeat, wire::kCheckForHeartbeat, flag(wire::kServerIsLive, "N"), -1},
        {link_engine_heartbeat, wire::kCheckForHeartbeat, "", -1},
        {link_engine_connection_status, wire::kCheckConnectionStatus, device + application, 0},
        {link_engine_connection_status, wire::kCheckConnectionStatus,
         device + flag(wire::kApplicationOn, "N"), -1},
        {link_engine_connection_status, wire::kCheckConnectionStatus,
         flag(wire::kDeviceOn, "N") + application, -1},
        {offline_connection_status, wire::kCheckConnectionStatus, flag(wire::kLocalDeviceOn, "Y"), 0},
        {offline_connection_status, wire::kCheckConnectionStatus, device + application, -1},
        {link_engine_remote_online, wire::kCheckRemoteOnline, kSuccess + flag(wire::kRemoteIsOnline, "Y"), 0},
        {link_engine_remote_online, wire::kCheckRemoteOnline, kSuccess + flag(wire::kRemoteIsOnline, "N"),
         -1},
        {link_engine_remote_online, wire::kCheckRemoteOnline, flag(wire::kRemoteIsOnline, "Y"), -1},
    };
    for (const auto& one : cases) {
        const FakeEngine engine([&one](const std::string&) { return message(one.answer); });
        EXPECT_EQ(one.probe(), one.result) << one.command << one.answer;
        EXPECT_EQ(engine.requests(one.command).size(), 1U);
    }
}

TEST_F(Panes, ARoundWithoutAnAnswerEndsWhicheverRequestItServed) {
    const std::pair<std::function<int()>, std::vector<const char*>> cases[] = {
        {offline_connection_status_nothread, {wire::kCheckConnectionStatus}},
        {link_engine_remote_online, {wire::kCheckRemoteOnline}},
        {[] { return right_combobox_load_partition(nullptr, nullptr); },
         {wire::kGetRemoteSpecialPath, wire::kGetDriverList}},
    };
    for (const auto& [ask, commands] : cases) {
        const FakeEngine engine([](const std::string&) { return FakeEngine::kRoundEnd; });
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(ask(), -1) << commands.front();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1)) << commands.front();
        for (const char* command : commands)
            EXPECT_EQ(engine.requests(command).size(), 1U);
    }
}

TEST_F(Panes, TheLinkEngineJobSendsACopyAndNothingElse) {
    for (const int kind : {TASK_COPY, TASK_MOVE, TASK_DEL}) {
        const FakeEngine engine([](const std::string&) { return message(kSuccess); });
        __send_args args;
        args.task_kind = kind;
        args.state = kStateRunning;
        pthread_t worker{};
        ASSERT_EQ(pthread_create(&worker, nullptr, start_job_routine_for_linkengange, &args), 0);
        EXPECT_EQ(pthread_join(worker, nullptr), 0);
        EXPECT_EQ(engine.requests(wire::kLocalToRemote).size(), kind == TASK_COPY ? 1U : 0U);
        EXPECT_EQ(args.state, kStateFinished);
        EXPECT_TRUE(pthread_equal(args.worker, worker));
    }
}

}  // namespace
