#include <gmock/gmock.h>

#include "gui/pane_fixture.h"
#include "gui/window_fixture.h"
#include "link_engine/message_names.h"
#include "link_engine/request_builders.h"
#include "link_engine/transfer_state.h"
#include "ui/link_status_monitor.h"
#include "window/closing.h"

namespace {

using gui_test::message;
using gui_test::row_names;
using gui_test::run_until;
using std::chrono::steady_clock;

constexpr char kDriveC[] = "43003A005C00";

// The engine's side of the link.
std::atomic<bool> remote_online = true;
std::atomic<bool> has_drives = true;

std::string serve(const std::string& request) {
    const auto asks = [&](const char* command) { return request.find(command) != std::string::npos; };
    if (asks(wire::kCheckRemoteOnline))
        return message(gui_test::kSuccess + "<NP_Cmd_Remote_Is_Online>" + (remote_online ? "Y" : "N") +
                       "</NP_Cmd_Remote_Is_Online>");
    if (asks(wire::kCheckConnectionStatus))
        return message("<NP_Connection_Local_Device_On>Y</NP_Connection_Local_Device_On>");
    if (asks(wire::kGetDriverList) && has_drives)
        return message(gui_test::kSuccess + "<Line><TD>3</TD><TA>C:</TA><TF>" + kDriveC + "</TF></Line>");
    if (asks(wire::kGetFileList))
        return message(gui_test::kSuccess + gui_test::line("file", "0"));
    return message(gui_test::kSuccess);
}

class LinkMonitor : public gui_test::MainWindowTest {
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

TEST_F(LinkMonitor, StartsNoPollWhileAnOfflineCallBackIsHandled) {
    set_offline_interrupt(1);
    relay_hub::start_waiting();
    EXPECT_EQ(g_waiting_status.timer_id, 0U);
}

TEST_F(LinkMonitor, WaitsUntilTheRunningActionIsOver) {
    const gui_test::FakeEngine engine(serve);
    {
        const relay_hub::WindowWork copying;
        relay_hub::start_waiting();
        EXPECT_TRUE(run_until([&] { return engine.requests(wire::kCheckRemoteOnline).size() == 2; }));
        EXPECT_TRUE(is_offline());
    }
    EXPECT_TRUE(run_until(is_loaded));
}

TEST_F(LinkMonitor, ALateAnswerToAnOldPollChangesNothing) {
    const gui_test::FakeEngine engine([](const std::string& request) {
        const std::string answer = serve(request);
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
    const gui_test::FakeEngine engine(serve);
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
    const gui_test::FakeEngine engine(serve);
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
    const auto start = steady_clock::now();
    relay_hub::stop_link_monitor();
    EXPECT_TRUE(run_until([&] { return done.load(); }));
    EXPECT_LT(steady_clock::now() - start, std::chrono::milliseconds(1500));
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
    const gui_test::FakeEngine engine(serve);
    const gui_test::When closed(
        [&] { return engine.requests(wire::kGetDriverList).size() == 2; },
        [] { gui_test::close_as_the_window_manager(gui_test::find_window("IDS_MSG_PROCESSING")); });
    gtk_button_clicked(GTK_BUTTON(remote().spare_button));
    EXPECT_TRUE(closed.done());
    EXPECT_FALSE(relay_hub::window_is_busy());
    EXPECT_FALSE(is_offline());
    EXPECT_EQ(gui_test::find_window("IDS_MSG_PROCESSING"), nullptr);
}

}  // namespace
