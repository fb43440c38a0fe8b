#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "gui/pane_fixture.h"
#include "gui/window_fixture.h"
#include "link_engine/message_names.h"
#include "link_engine/request_builders.h"
#include "link_engine/transfer_state.h"
#include "ui/base/closing.h"
#include "ui/base/drive_box.h"
#include "ui/link_status_monitor.h"

namespace {

using gui_test::message;
using gui_test::row_names;
using gui_test::run_until;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::HasSubstr;

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
    static int drives() {
        return gtk_tree_model_iter_n_children(gtk_combo_box_get_model(GTK_COMBO_BOX(remote().drive_combo)),
                                              nullptr);
    }
    // A tick as the main loop makes it: without the GDK lock.
    static bool tick() {
        gdk_threads_leave();
        const bool goes_on = waiting_linkengine(get_wait_status()) != FALSE;
        gdk_threads_enter();
        return goes_on;
    }
};

TEST_F(LinkMonitor, LoadsThePaneOnceTheRemoteSideAnswers) {
    remote_online = false;
    const gui_test::FakeEngine engine(serve);
    relay_hub::start_waiting();
    EXPECT_TRUE(run_until([&] { return engine.requests(wire::kCheckRemoteOnline).size() == 2; }));
    EXPECT_TRUE(is_offline());
    remote_online = true;
    ASSERT_TRUE(run_until(is_loaded));
    EXPECT_STREQ(relay_hub::current_folder(&remote()), "C:\\");
    EXPECT_EQ(g_waiting_status.timer_id, 0U);
    EXPECT_EQ(g_first_time, 10);
    EXPECT_EQ(get_offline_interrupt(), 0);
}

TEST_F(LinkMonitor, NeverHoldsUpTheWindowForAPipeThatNobodyReads) {
    ASSERT_EQ(mkfifo(sandbox_.at("nobody_IN").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(sandbox_.at("nobody_OUT").c_str(), 0600), 0);
    relay_hub::start_waiting();
    for (int ticks = 0; ticks < 4; ++ticks) {
        const auto start = steady_clock::now();
        EXPECT_TRUE(tick());
        EXPECT_LT(steady_clock::now() - start, milliseconds(100));
        run_until([&] { return steady_clock::now() - start > milliseconds(300); });
    }
    EXPECT_TRUE(is_offline());
    EXPECT_TRUE(relay_hub::stop_link_monitor());
}

TEST_F(LinkMonitor, StartsNoPollWhileAnOfflineCallBackIsHandled) {
    set_offline_interrupt(1);
    relay_hub::start_waiting();
    EXPECT_EQ(g_waiting_status.timer_id, 0U);
    EXPECT_FALSE(tick());
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

TEST_F(LinkMonitor, GivesUpWaitingWhenTheUserWantsIt) {
    remote_online = false;
    const gui_test::FakeEngine engine(serve);
    relay_hub::start_waiting();
    g_waiting_status.stop_request = 2;
    EXPECT_TRUE(run_until(is_loaded));
}

TEST_F(LinkMonitor, ShowsTheOfflineViewAndPollsAgainAfterACallBack) {
    const gui_test::FakeEngine engine(serve);
    fill_remote("C:\\", {{"Docs", "1"}});
    append_combobox_item(remote().drive_combo, "gtk-harddisk", "C:", "C:\\");
    set_offline_interrupt(1);
    std::atomic<bool> done = false;
    std::thread listener([&] {
        set_line_status();
        done = true;
    });
    EXPECT_TRUE(run_until([&] { return done.load(); }));
    listener.join();
    EXPECT_TRUE(is_offline());
    EXPECT_EQ(drives(), 0);
    EXPECT_EQ(get_offline_interrupt(), 0);
    EXPECT_EQ(engine.requests(wire::kCheckConnectionStatus).size(), 1U);
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
    EXPECT_LT(steady_clock::now() - start, milliseconds(1500));
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

TEST_F(LinkMonitor, TheStatusDialogEndsTheWaiting) {
    const wait_status* status = monitor_link_engine_status_dialog();
    EXPECT_THAT(
        gui_test::label_texts(status->dialog),
        testing::AllOf(HasSubstr("Current status: Disconnected"), HasSubstr("Try to connection ...")));
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(status->dialog)), "Transfer Line Status");
    EXPECT_NE(status->timer_id, 0U);
    gui_test::close_as_the_window_manager(status->dialog);
    EXPECT_EQ(status->dialog, nullptr);
    EXPECT_EQ(status->stop_request, 2);
    EXPECT_EQ(status->connected, 1);
}

}  // namespace
