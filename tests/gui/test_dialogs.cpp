#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>
#include <poll.h>

#include <cstring>

#include "gui/gui_fixture.h"
#include "link_engine/answer_slot.h"
#include "link_engine/command_runner.h"
#include "link_engine/transfer_state.h"
#include "name_pipe/abandon.h"
#include "tree_view_op/file_list_view.h"
#include "ui/base/dialogs/file_read_write_dialog.h"
#include "ui/base/dialogs/message_dialog.h"
#include "ui/base/dialogs/mkdir_dialog.h"
#include "ui/base/dialogs/override_request_dialog.h"
#include "ui/base/dialogs/rename_dialog.h"
#include "ui/base/dialogs/search_dialog.h"
#include "ui/base/jobs.h"

namespace {

using gui_test::close_as_the_window_manager;
using gui_test::find_window;
using gui_test::PaneList;
using gui_test::run_until;
using gui_test::When;
using test::Sandbox;

bool a_box_is_over(GtkWidget* dialog) {
    GtkWidget* top = gtk_grab_get_current();
    return top != nullptr && top != dialog && GTK_IS_MESSAGE_DIALOG(top);
}

// Answers the box that is on top, and gives its texts.
void answer_box(std::string* texts) {
    GtkWidget* box = gtk_grab_get_current();
    *texts = gui_test::label_texts(box);
    gtk_dialog_response(GTK_DIALOG(box), GTK_RESPONSE_OK);
}

TEST(MessageDialog, ShowsTextsAsTheyAre) {
    const char* const cases[][3] = {{"100%% of %s <b>", nullptr, "100% of %s <b>\n"},
                                    {"a\xff", "%d & <i>", "a\xEF\xBF\xBD\n%d & <i>\n"}};
    for (const auto& [primary, secondary, expected] : cases) {
        std::string shown;
        const When answered([] { return a_box_is_over(nullptr); }, [&] { answer_box(&shown); });
        show_message_dialog(nullptr, primary, secondary);
        EXPECT_THAT(shown, testing::StartsWith(expected));
    }
}

TEST(MkdirDialog, GivesTheNameOnlyForOk) {
    const std::pair<void (*)(_mkdir_dialog*), const char*> cases[] = {
        {[](auto* record) { gui_test::press_key(record->entry, GDK_KEY_Return); }, "new\u00e9"},
        {[](auto* record) { gtk_button_clicked(GTK_BUTTON(record->cancel_button)); }, ""},
        {[](auto* record) { close_as_the_window_manager(record->dialog); }, ""}};
    for (const auto& [end, expected] : cases) {
        _mkdir_dialog* record = create_mkdir_dialog();
        init_mkdir_dialog(record);
        const When answered([&] { return gtk_grab_get_current() == record->dialog; },
                            [&] {
                                gtk_entry_set_text(GTK_ENTRY(record->entry), "new\u00e9");
                                end(record);
                            });
        show_mkdir_dialog(record);
        destroy_mkdir_dialog(record);
        EXPECT_STREQ(get_folder_name(), expected);
    }
}

class RenameDialog : public testing::Test {
  protected:
    // Enters text over the old name and presses OK; when that is refused, cancels. Gives the refusal.
    std::string rename(const char* old_name, const std::string& base, int is_remote, const char* text) {
        _rename_dialog* record = create_rename_dialog();
        set_rename_dialog_oldname(old_name, "", base.c_str(), is_remote, list_.view());
        init_rename_dialog(record);
        std::string refusal;
        const When entered([&] { return gtk_grab_get_current() == record->dialog; },
                           [&] {
                               if (text != nullptr)
                                   gtk_entry_set_text(GTK_ENTRY(record->entry), text);
                               gtk_button_clicked(GTK_BUTTON(record->ok_button));
                           });
        const When refused([&] { return a_box_is_over(record->dialog); }, [&] { answer_box(&refusal); });
        const When given_up([&] { return !refusal.empty() && gtk_grab_get_current() == record->dialog; },
                            [&] { gtk_button_clicked(GTK_BUTTON(record->cancel_button)); });
        show_rename_dialog(record);
        get_rename_dialog_new_name(new_name_);
        destroy_rename_dialog(record);
        return refusal.substr(0, refusal.find('\n'));
    }

    Sandbox sandbox_;
    PaneList list_;
    std::string new_name_;
};

constexpr char kRefusedSlash[] = "IDS_MSG_ERR_FAIL_TO_RENAME_FILE";
constexpr char kRefusedDuplicate[] = "IDS_MSG_ERR_FAIL_ADD_SAME_FILE";

TEST_F(RenameDialog, ChecksTheNameAgainstTheFolderOrTheRowsThatAreNotSelected) {
    for (const char* name : {"old", "other", "raw\xff"})
        sandbox_.make_file(name);
    const int columns[] = {kColumnName, -1};
    for (const char* name : {"..", "old", "other"})
        append_data(list_.view(), columns, &name);
    list_.select({1});
    const struct {
        const char* base;  // of the remote pane; null: local
        const char* old_name;
        const char* text;
        const char* refusal;
        const char* new_name;
    } cases[] = {{nullptr, "old", "a/b", kRefusedSlash, ""},
                 {nullptr, "old", "other", kRefusedDuplicate, ""},
                 {nullptr, "old", "OTHER", "", "OTHER"},
                 {nullptr, "old", nullptr, "", "old"},
                 {nullptr, "raw\xff", nullptr, "", "raw\xff"},
                 {nullptr, "raw\xff", "fine", "", "fine"},
                 {"/home", "old", "a/b", kRefusedSlash, ""},
                 {"C:\\Data", "old", "a/b", "", "a/b"},
                 {"C:\\Data", "old", "other", kRefusedDuplicate, ""},
                 {"/home", "old", "Other", "", "Other"},
                 {"/home", "old", "..", "", ".."}};
    for (const auto& each : cases) {
        const bool is_remote = each.base != nullptr;
        EXPECT_EQ(rename(each.old_name, is_remote ? each.base : sandbox_.at(), is_remote, each.text),
                  each.refusal);
        EXPECT_EQ(new_name_, each.new_name);
    }
}

TEST(OverrideRequest, ClosingItIsNoAnswer) {
    const When asked([] { return find_window("IDS_CONFIRMATION") != nullptr; },
                     [] {
                         GtkWidget* dialog = find_window("IDS_CONFIRMATION");
                         EXPECT_THAT(gui_test::label_texts(dialog),
                                     testing::HasSubstr("100%s \xEF\xBF\xBD ?"));
                         close_as_the_window_manager(dialog);
                     });
    EXPECT_EQ(relay_hub::run_override_request(nullptr, "100%s \xff ?"), GTK_RESPONSE_DELETE_EVENT);
}

class ProgressDialog : public testing::Test {
  protected:
    void show(int kind) {
        kind_ = kind;
        show_file_read_write_dialog(nullptr, &dialog_, {&state_, &kind_}, kind);
        info_ = get_file_read_write_dialog_info();
    }
    ~ProgressDialog() override {
        close_file_read_write_dialog(dialog_);
        EXPECT_EQ(get_file_read_write_dialog_info()->dialog, nullptr);
        relese_update_fun();
    }
    static gboolean count(gpointer info) {
        EXPECT_EQ(info, get_file_read_write_dialog_info());
        ++updates;
        return G_SOURCE_CONTINUE;
    }
    static inline int updates = 0;

    int state_ = kStateRunning;
    int kind_ = TASK_COPY;
    GtkWidget* dialog_ = nullptr;
    dialog_info* info_ = nullptr;
};

TEST_F(ProgressDialog, CancelsOnceAndStaysWhenClosed) {
    show(TASK_COPY);
    testing::internal::CaptureStdout();
    close_as_the_window_manager(dialog_);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "on_dialog_destroy\n");
    EXPECT_EQ(info_->dialog, dialog_);
    EXPECT_TRUE(gtk_widget_get_visible(dialog_));
    EXPECT_EQ(get_atomic(&state_), TASK_CANCEL);
    EXPECT_EQ(IsUserClickCancel(), -1);
    EXPECT_FALSE(gtk_widget_is_sensitive(info_->cancel_button));
    set_atomic(&state_, kStateRunning);
    close_as_the_window_manager(dialog_);
    EXPECT_EQ(get_atomic(&state_), kStateRunning);
    EXPECT_EQ(atomic_flag, 1);
    CleanUpInformationVar();
}

TEST_F(ProgressDialog, AFinishedJobIsNotCancelled) {
    show(TASK_COPY);
    set_atomic(&state_, kStateFinished);
    gtk_button_clicked(GTK_BUTTON(info_->cancel_button));
    EXPECT_EQ(get_atomic(&state_), kStateFinished);
    CleanUpInformationVar();
}

TEST_F(ProgressDialog, RunsTheUpdaterOrThePulse) {
    show(TASK_DEL);
    EXPECT_FALSE(gtk_widget_get_visible(info_->cancel_button));
    gtk_label_set_text(GTK_LABEL(info_->message_label), "");
    EXPECT_TRUE(run_until([this] {
        return std::string(gtk_label_get_text(GTK_LABEL(info_->message_label))) == "IDS_MSG_PROCESSING";
    }));
    close_file_read_write_dialog(dialog_);
    updates = 0;
    set_update_fun(count);
    show(TASK_COPY);
    EXPECT_TRUE(gtk_widget_get_visible(info_->cancel_button));
    EXPECT_TRUE(run_until([] { return updates > 1; }));
}

TEST(BusyDialog, NestsAndPulsesUntilItGoes) {
    testing::internal::CaptureStdout();
    {
        const relay_hub::BusyDialog outer;
        GtkWidget* shown = find_window("IDS_MSG_PROCESSING");
        ASSERT_NE(shown, nullptr);
        {
            const relay_hub::BusyDialog inner;
            EXPECT_EQ(find_window("IDS_MSG_PROCESSING"), shown);
        }
        close_as_the_window_manager(shown);
        EXPECT_EQ(find_window("IDS_MSG_PROCESSING"), shown);
    }
    EXPECT_EQ(find_window("IDS_MSG_PROCESSING"), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "on_show_search_dialog_destroy\n");
}

int wait_until_abandoned(void* args) {
    pollfd abandoned{relay_hub::current_abandon_token()->descriptor(), POLLIN, 0};
    const int result = poll(&abandoned, 1, static_cast<int>(gui_test::kLimit.count()));
    set_atomic(&static_cast<__send_args*>(args)->state, kStateFinished);
    return result;
}

int answer_length(__send_args*) {
    const char* answer = get_xml_string();
    return answer != nullptr ? static_cast<int>(std::strlen(answer)) : 0;
}

TEST(BusyDialog, ClosingItAbandonsTheRequest) {
    const relay_hub::BusyDialog busy;
    const auto began = std::chrono::steady_clock::now();
    const When closed([] { return true; },
                      [] { close_as_the_window_manager(find_window("IDS_MSG_PROCESSING")); });
    __send_args args;
    EXPECT_EQ(send_command_t(wait_until_abandoned, answer_length, &args), 0);
    EXPECT_TRUE(closed.done());
    EXPECT_LT(std::chrono::steady_clock::now() - began, gui_test::kLimit / 2);
}

}  // namespace
