#include <pthread.h>

#include "gui/pane_fixture.h"
#include "gui/window_fixture.h"
#include "link_engine/message_names.h"
#include "side_function/Zev_right_side.h"
#include "side_function/link_probes.h"
#include "util/job_state.h"
#include "window/jobs.h"

namespace {

using namespace gui_test;
using test::Clock;
using namespace std::chrono_literals;

constexpr char kDriveC[] = "43003A005C00";

// The engine's side of the link.
std::atomic<bool> remote_online = true;
std::atomic<bool> has_drives = true;

std::string serve(const std::string& request) {
    const auto asks = [&](const char* command) { return request.find(command) != std::string::npos; };
    if (asks(wire::kCheckRemoteOnline))
        return message(kSuccess + "<NP_Cmd_Remote_Is_Online>" + (remote_online ? "Y" : "N") +
                       "</NP_Cmd_Remote_Is_Online>");
    if (asks(wire::kCheckConnectionStatus))
        return message("<NP_Connection_Local_Device_On>Y</NP_Connection_Local_Device_On>");
    if (asks(wire::kGetDriverList) && has_drives)
        return message(kSuccess + "<Line><TD>3</TD><TA>C:</TA><TF>" + kDriveC + "</TF></Line>");
    if (asks(wire::kGetFileList))
        return message(kSuccess + line("file", "0"));
    return message(kSuccess);
}

class LinkMonitor : public MainWindowTest {
  protected:
    LinkMonitor() {
        remote_online = true;
        has_drives = true;
        set_offline_interrupt(0);
        relay_hub::set_command_pipe_for_tests(sandbox_.at("nobody"));
    }
    ~LinkMonitor() override {
        relay_hub::set_command_pipe_for_tests({});
        set_offline_interrupt(0);
    }

    static bool is_offline() {
        return gtk_widget_get_visible(remote().content_box) == FALSE &&
               gtk_widget_get_visible(remote().offline_box) != FALSE;
    }
    static bool is_loaded() {
        return !is_offline() && !relay_hub::window_is_busy() && g_waiting_status.connected == 1 &&
               row_names(remote()) == std::vector<std::string>{"file"};
    }
};

TEST_F(LinkMonitor, WaitsUntilTheRunningActionIsOver) {
    const FakeEngine engine(serve);
    {
        const relay_hub::WindowWork copying;
        relay_hub::start_waiting();
        EXPECT_TRUE(run_until([&] { return engine.requests(wire::kCheckRemoteOnline).size() == 2; }));
        EXPECT_TRUE(is_offline());
    }
    EXPECT_TRUE(run_until(is_loaded));
}

TEST_F(LinkMonitor, ALateAnswerToAnOldPollChangesNothing) {
    const FakeEngine engine([](const std::string& request) {
        std::string answer = serve(request);
        remote_online = false;
        return answer;
    });
    const auto polls = [&engine] { return engine.requests(wire::kCheckRemoteOnline).size(); };
    relay_hub::start_waiting();
    EXPECT_TRUE(run_until([&] { return polls() == 1; }));
    relay_hub::start_waiting();
    EXPECT_TRUE(run_until([&] { return polls() == 2; }));
    EXPECT_TRUE(is_offline());
}

TEST_F(LinkMonitor, AnOfflineCallBackTakesTheDrivesAway) {
    const FakeEngine engine(serve);
    GtkTreeModel* drives = gtk_combo_box_get_model(GTK_COMBO_BOX(remote().drive_combo));
    gtk_button_clicked(GTK_BUTTON(remote().spare_button));
    EXPECT_GT(gtk_tree_model_iter_n_children(drives, nullptr), 0);
    EXPECT_FALSE(is_offline());
    const std::jthread listener(set_line_status);
    EXPECT_TRUE(run_until(is_offline));
    EXPECT_EQ(gtk_tree_model_iter_n_children(drives, nullptr), 0);
}

TEST_F(LinkMonitor, GivesUpWaitingWhenTheUserWantsIt) {
    remote_online = false;
    const FakeEngine engine(serve);
    relay_hub::start_waiting();
    g_waiting_status.stop_request = 2;
    EXPECT_TRUE(run_until(is_loaded));
}

TEST_F(LinkMonitor, ACallBackThatFindsNoEngineEndsWithTheProgram) {
    std::atomic<bool> done = false;
    std::thread listener([&] {
        set_line_status();
        done = true;
    });
    EXPECT_TRUE(run_until([] { return g_first_time == 0; }));
    const auto start = Clock::now();
    relay_hub::stop_link_monitor();
    EXPECT_TRUE(run_until([&] { return done.load(); }));
    EXPECT_LT(Clock::now() - start, 5s);
    listener.join();
}

TEST_F(LinkMonitor, EndsTheProcessWhenAnEngineThatWasThereIsGone) {
    const auto lose_the_engine = [] {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        g_first_time = 10;
        set_line_status();
    };
    EXPECT_EXIT(lose_the_engine(), testing::ExitedWithCode(0),
                testing::HasSubstr("local device disconnection !\nexit GUI\n"));
}

TEST_F(LinkMonitor, ClosingTheBusyDialogEndsTheSearchForDrives) {
    has_drives = false;
    const FakeEngine engine(serve);
    const When closed([&] { return engine.requests(wire::kGetDriverList).size() == 2; },
                      [] { close_as_the_window_manager(find_window("IDS_MSG_PROCESSING")); });
    gtk_button_clicked(GTK_BUTTON(remote().spare_button));
    EXPECT_TRUE(closed.done());
    EXPECT_FALSE(relay_hub::window_is_busy());
    EXPECT_FALSE(is_offline());
    EXPECT_EQ(find_window("IDS_MSG_PROCESSING"), nullptr);
}

TEST_F(Panes, ProbesJudgeTheEnginesAnswer) {
    const std::string device = field(wire::kDeviceOn, "Y"), application = field(wire::kApplicationOn, "Y");
    const std::tuple<int (*)(), const char*, std::string, int> cases[] = {
        {link_engine_heartbeat, wire::kCheckForHeartbeat, field(wire::kServerIsLive, "Y"), 0},
        {link_engine_heartbeat, wire::kCheckForHeartbeat, field(wire::kServerIsLive, "N"), -1},
        {link_engine_connection_status, wire::kCheckConnectionStatus, device + application, 0},
        {link_engine_connection_status, wire::kCheckConnectionStatus,
         device + field(wire::kApplicationOn, "N"), -1},
        {link_engine_connection_status, wire::kCheckConnectionStatus,
         field(wire::kDeviceOn, "N") + application, -1},
        {offline_connection_status, wire::kCheckConnectionStatus, field(wire::kLocalDeviceOn, "Y"), 0},
        {offline_connection_status, wire::kCheckConnectionStatus, device + application, -1},
        {link_engine_remote_online, wire::kCheckRemoteOnline, kSuccess + field(wire::kRemoteIsOnline, "Y"),
         0},
        {link_engine_remote_online, wire::kCheckRemoteOnline, kSuccess + field(wire::kRemoteIsOnline, "N"),
         -1},
        {link_engine_remote_online, wire::kCheckRemoteOnline, field(wire::kRemoteIsOnline, "Y"), -1},
        {[] { return right_combobox_load_partition(nullptr, nullptr); }, wire::kGetRemoteSpecialPath, "", 0},
        {offline_connection_status_nothread, wire::kCheckConnectionStatus, field(wire::kLocalDeviceOn, "Y"),
         0},
    };
    for (const auto& [probe, command, answer, result] : cases) {
        const FakeEngine engine([whole = message(answer)](const std::string&) { return whole; });
        EXPECT_EQ(probe(), result) << command << answer;
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
