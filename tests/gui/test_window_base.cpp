#include "gui/pane_fixture.h"
#include "link_engine/command_runner.h"
#include "link_engine/confirmation.h"
#include "util/user_questions.h"
#include "window/dialogs/file_read_write_dialog.h"
#include "window/dialogs/mkdir_dialog.h"
#include "window/dialogs/override_request_dialog.h"
#include "window/jobs.h"
#include "window/window_thread.h"

namespace {

using namespace gui_test;
using namespace std::chrono_literals;

class WindowBase : public Panes {
  protected:
    WindowBase() {
        GtkWidget* window = get_UI_sets()->main_window;
        const auto note = +[](GtkWidget*, gpointer destroyed) { *static_cast<bool*>(destroyed) = true; };
        g_signal_connect(window, "destroy", G_CALLBACK(note), &destroyed_);
        gtk_widget_show(window);
        copy_->task_kind = TASK_COPY;
        copy_->items = {sandbox_.make_file("a", "new")};
        copy_->folder = sandbox_.make_folder("dest");
        sandbox_.make_file("dest/a", "old");
        relay_hub::set_user_questions(relay_hub::window_questions());
    }
    ~WindowBase() override {
        gtk_widget_destroy(get_UI_sets()->main_window);
        relay_hub::remember_window_thread();
        relay_hub::set_user_questions(nullptr);
    }

    bool destroyed_ = false;
    const test::Sandbox sandbox_;
    const relay_hub::TaskListPtr copy_{new_task_list()};  // of a file over another
};

TEST_F(WindowBase, WorkersCallTheWindowAndWait) {
    std::atomic<bool> ran_on_window = false;
    std::atomic<int> called = -1;
    std::thread worker([&] {
        called = relay_hub::call_on_window([&] { ran_on_window = relay_hub::on_window_thread(); }) ? 1 : 0;
    });
    EXPECT_TRUE(run_until([&] { return called != -1; }));
    worker.join();
    EXPECT_EQ(called, 1);
    EXPECT_TRUE(ran_on_window);

    bool at_once = false;
    EXPECT_TRUE(relay_hub::call_on_window([&] { at_once = true; }));
    EXPECT_TRUE(at_once);
}

TEST_F(WindowBase, TheEndOfTheMainLoopReleasesWhoeverWaits) {
    std::atomic<int> called = -1;
    std::atomic<bool> ran = false;
    auto owned = std::make_shared<int>(1);
    relay_hub::post_to_window([owned, &ran] { ran = true; });
    std::atomic<pid_t> id = 0;
    std::thread worker([&] {
        id = ::gettid();
        called = relay_hub::call_on_window([&] { ran = true; }) ? 1 : 0;
    });
    EXPECT_TRUE(test::wait_until([&id] { return id != 0 && test::is_asleep(id); }));
    relay_hub::end_hand_over();
    worker.join();
    EXPECT_EQ(called, 0);
    EXPECT_EQ(owned.use_count(), 1);
    run_pending();
    EXPECT_FALSE(ran);
}

TEST_F(WindowBase, TheWindowGoesOnlyWhenEveryHandlerHasUnwound) {
    {
        const relay_hub::WindowWork outer;
        {
            const relay_hub::WindowWork inner;
            EXPECT_TRUE(relay_hub::window_is_busy());
            relay_hub::close_window();
            const auto asked = test::Clock::now();
            EXPECT_EQ(relay_hub::wait_for_confirmation("?"), kConfirmNone);
            EXPECT_LT(test::Clock::now() - asked, 5s) << "nobody answers in a closing program";
        }
        run_pending();
        EXPECT_FALSE(destroyed_);
        EXPECT_TRUE(relay_hub::window_is_closing());
    }
    EXPECT_FALSE(relay_hub::window_is_busy());
    EXPECT_TRUE(run_until([&] { return destroyed_; }));
    EXPECT_EQ(relay_hub::run_dialog(GTK_DIALOG(gtk_about_dialog_new())), GTK_RESPONSE_DELETE_EVENT);
}

TEST_F(WindowBase, ClosingEndsNestedDialogsFromTheInside) {
    _mkdir_dialog* record = create_mkdir_dialog();
    init_mkdir_dialog(record);
    GtkWidget* entry = record->entry;
    const When refused([&] { return find_window("IDS_MN_ADDNEWFOLDER") != nullptr; },
                       [&] { gtk_button_clicked(GTK_BUTTON(record->ok_button)); });
    const When closed(
        [&] {
            return gtk_grab_get_current() != nullptr && !gtk_widget_has_grab(entry) &&
                   gtk_grab_get_current() != record->dialog;
        },
        [] { relay_hub::close_window(); });
    show_mkdir_dialog(record);
    EXPECT_STREQ(get_folder_name(), "");
    destroy_mkdir_dialog(record);
    EXPECT_TRUE(closed.done());
    EXPECT_TRUE(run_until([&] { return destroyed_; }));
}

TEST(ClosingDeathTest, AStuckMainLoopStillEndsWithStatusZero) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            relay_hub::close_window();
            for (;;)
                pause();
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(WindowBase, ALocalJobAsksOverTheProgressDialogAndClosingWaitsForIt) {
    GtkWidget* progress = nullptr;
    show_file_read_write_dialog(get_UI_sets()->main_window, &progress, {&copy_->state, &copy_->task_kind},
                                TASK_COPY);
    GtkWindow* parent = nullptr;
    const When asked([] { return find_window("IDS_CONFIRMATION") != nullptr; },
                     [&] {
                         GtkWidget* question = find_window("IDS_CONFIRMATION");
                         parent = gtk_window_get_transient_for(GTK_WINDOW(question));
                         relay_hub::close_window();
                     });
    EXPECT_EQ(relay_hub::run_local_job(copy_.get()), 0);
    EXPECT_TRUE(asked.done());
    EXPECT_EQ(GTK_WIDGET(parent), progress);
    EXPECT_EQ(get_atomic(&copy_->state), TASK_CANCEL);
    EXPECT_FALSE(destroyed_);
    close_file_read_write_dialog(progress);
    EXPECT_TRUE(run_until([&] { return destroyed_; }));
}

// A request that is never answered, inside it a local job that asks, inside that another request.
TEST_F(WindowBase, WaitingCostsNothingAndClosingWakesEverybody) {
    const test::FakeEngine engine([](const std::string&) { return std::nullopt; });
    const auto ask_the_engine = [] {
        const relay_hub::WindowWork work;
        __send_args args;
        send_command_t(set_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, nullptr, &args);
    };
    double used = 1;
    auto waiting_since = test::Clock::time_point::max(), closed = waiting_since;
    const When job_starts([&] { return engine.frames().size() == 1; },
                          [&] { relay_hub::run_local_job(copy_.get()); });
    const When all_wait([] { return find_window("IDS_CONFIRMATION") != nullptr; },
                        [&] {
                            used = -test::used_seconds(CLOCK_PROCESS_CPUTIME_ID);
                            waiting_since = test::Clock::now();
                            ask_the_engine();
                        });
    const When a_second_later([&] { return test::Clock::now() - 1s > waiting_since; },
                              [&] {
                                  used += test::used_seconds(CLOCK_PROCESS_CPUTIME_ID);
                                  closed = test::Clock::now();
                                  relay_hub::close_window();
                              });
    ask_the_engine();
    EXPECT_LT(test::Clock::now() - closed, 1400ms);
    EXPECT_LT(used, 0.3) << "a wait spins";
    EXPECT_TRUE(job_starts.done() && all_wait.done());
    EXPECT_EQ(get_atomic(&copy_->state), TASK_CANCEL);
    EXPECT_TRUE(run_until([&] { return destroyed_; }));
}

}  // namespace
