#include "gui/gui_fixture.h"
#include "link_engine/transfer_state.h"
#include "side_function/progress_updater.h"
#include "window/dialogs/file_read_write_dialog.h"
#include "window/dialogs/message_dialog.h"
#include "window/dialogs/override_request_dialog.h"
#include "window/dialogs/rename_dialog.h"
#include "window/dialogs/search_dialog.h"
#include "window/loops.h"

namespace {

using namespace gui_test;

bool a_box_is_over(GtkWidget* dialog) {
    GtkWidget* top = gtk_grab_get_current();
    return top != nullptr && top != dialog && GTK_IS_MESSAGE_DIALOG(top);
}

void answer_box(std::string* texts) {
    GtkWidget* box = gtk_grab_get_current();
    *texts = label_texts(box);
    gtk_dialog_response(GTK_DIALOG(box), GTK_RESPONSE_OK);
}

TEST(MessageDialog, ShowsTextsAsTheyAreAndNothingWithoutOne) {
    const char* const cases[][3] = {{"100%% of %s <b>", nullptr, "100% of %s <b>\n"},
                                    {"", "reason", "reason\n"},
                                    {"a\u202Eb\u202C", "1\n2", "a\\u202Eb\\u202C\n1\n2\n"},
                                    {"a\xff", "%d & <i>", "a\xEF\xBF\xBD\n%d & <i>\n"},
                                    {"", nullptr, ""}};
    for (const auto& [primary, secondary, expected] : cases) {
        std::string shown;
        const When answered([] { return a_box_is_over(nullptr); }, [&] { answer_box(&shown); });
        show_message_dialog(nullptr, primary, secondary);
        EXPECT_THAT(shown, testing::StartsWith(expected));
        EXPECT_EQ(answered.done(), *expected != '\0');
    }
    relay_hub::show_error_box(nullptr, GTK_BUTTONS_CLOSE, "", "");  // shown, it would wait for an answer
}

TEST(Boxes, FitTheScreenWhateverTheySay) {
    std::string lines;
    for (int line = 0; line < 500; ++line)
        lines += "line " + std::to_string(line) + "\n";
    const std::string texts[] = {std::string(200, 'n') + " exists", std::string(3000, 'x'), lines,
                                 std::string(3000, '\n'), std::string(1 << 20, 'W')};
    GdkScreen* screen = gdk_screen_get_default();
    for (const std::string& text : texts) {
        const auto check = [&] {
            GtkWidget* box = gtk_grab_get_current();
            GtkRequisition size;
            gtk_widget_size_request(box, &size);
            EXPECT_LE(size.width, gdk_screen_get_width(screen) * 2 / 3);
            EXPECT_LE(size.height, gdk_screen_get_height(screen) * 2 / 3) << text.substr(0, 20);
            EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(box)),
                         GTK_IS_MESSAGE_DIALOG(box) ? "Relay Hub" : "IDS_CONFIRMATION");
            if (!GTK_IS_MESSAGE_DIALOG(box)) {
                EXPECT_EQ(gtk_window_get_focus(GTK_WINDOW(box)), find_button(box, "IDS_NO"));
            }
            gtk_dialog_response(GTK_DIALOG(box), GTK_RESPONSE_OK);
        };
        const auto open = [] { return gtk_grab_get_current() != nullptr; };
        for (const char* secondary : {"", text.c_str()}) {
            const When shown(open, check);
            relay_hub::show_error_box(nullptr, GTK_BUTTONS_CLOSE, text, secondary);
        }
        const When asked(open, check);
        relay_hub::run_override_request(nullptr, text.c_str());
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
    const std::tuple<const char*, const char*, const char*, const char*, const char*> cases[] = {
        {nullptr, "old", "a/b", kRefusedSlash, ""},
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
    // The base is the remote pane's folder; null: a name in the local one.
    for (const auto& [base, old_name, text, refusal, new_name] : cases) {
        const bool is_remote = base != nullptr;
        EXPECT_EQ(rename(old_name, is_remote ? base : sandbox_.at(), is_remote, text), refusal);
        EXPECT_EQ(new_name_, new_name);
    }
}

TEST(OverrideRequest, ShowsItsTextCutInTheMiddleAndClosingItIsNoAnswer) {
    const std::tuple<std::string, const char*, const char*> cases[] = {
        {"100%s \xff ?", "100%s \uFFFD ?", ""},
        {"/" + std::string(3000, 'x') + " Replace?\n\nExisting: 7 bytes", "xx…xx",
         "Replace?\n\nExisting: 7 bytes"}};
    for (const auto& [text, begin, end] : cases) {
        std::string shown;
        const When asked([] { return find_window("IDS_CONFIRMATION") != nullptr; },
                         [&shown] {
                             shown = label_texts(find_window("IDS_CONFIRMATION"));
                             close_as_the_window_manager(find_window("IDS_CONFIRMATION"));
                         });
        EXPECT_EQ(relay_hub::run_override_request(nullptr, text.c_str()), GTK_RESPONSE_DELETE_EVENT);
        EXPECT_THAT(shown, testing::AllOf(testing::HasSubstr(begin), testing::HasSubstr(end)));
    }
}

class ProgressDialog : public testing::Test {
  protected:
    ProgressDialog() {
        show_file_read_write_dialog(nullptr, &dialog_, {&state_, &kind_}, kind_);
        info_ = get_file_read_write_dialog_info();
    }
    ~ProgressDialog() override {
        close_file_read_write_dialog(dialog_);
        EXPECT_EQ(info_->dialog, nullptr);
        CleanUpInformationVar();
    }
    int state_ = kStateRunning;
    int kind_ = TASK_COPY;
    GtkWidget* dialog_ = nullptr;
    dialog_info* info_ = nullptr;
};

TEST_F(ProgressDialog, CancelsOnceAndStaysWhenClosed) {
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
}

TEST_F(ProgressDialog, AFinishedJobIsNotCancelled) {
    set_atomic(&state_, kStateFinished);
    gtk_button_clicked(GTK_BUTTON(info_->cancel_button));
    EXPECT_EQ(get_atomic(&state_), kStateFinished);
}

TEST_F(ProgressDialog, ShowsItsTextAndNeverGoesBackWithinOneFile) {
    const auto text = [this] { return std::string(gtk_label_get_text(GTK_LABEL(info_->message_label))); };
    const std::string sixty(60, 'x');
    int step = 0;
    const std::tuple<std::string, float, float, std::string, double> cases[] = {
        {"a", 1, 4, "a", 25},
        {"a", 0, 4, "a", 25},
        {"b", 1, 4, "b", 25},
        {"c", 1, 0, "c", 0},
        {"d", 9, 4, "d", 100},
        {sixty, 1, 2, sixty.substr(0, 53) + "...", 50},
        {sixty.substr(0, 55), 1, 2, sixty.substr(0, 55), 50},
        {"\u00E9" + sixty, 1, 2, "\u00E9" + sixty.substr(0, 52) + "...", 50},
        {"\xFFz", 1, 2, "\uFFFDz", 50},
    };
    for (const auto& [info, current, total, shown, percent] : cases) {
        SetProgressInfo(info.c_str());
        SetCurrentPercentage(current);
        SetTotalPercent(total);
        const std::string how_far = std::to_string(++step) + " of 1509 items " + sixty + " left";
        SetProcessElapseTime(how_far.c_str());
        EXPECT_TRUE(update_dialog_info(info_));
        EXPECT_EQ(text(), shown);
        EXPECT_EQ(gtk_label_get_text(GTK_LABEL(info_->second_label)), how_far) << "also while the bar stands";
        EXPECT_FALSE(pango_layout_is_ellipsized(gtk_label_get_layout(GTK_LABEL(info_->second_label))));
        const double fraction = gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(info_->progress_bar));
        EXPECT_NEAR(fraction * 100, percent, 0.01) << info;
    }
    SetEnableInformation(kSwitchOn);
    SetProgressInfo("half written");
    EXPECT_TRUE(update_dialog_info(info_));
    EXPECT_EQ(text(), "\uFFFDz");
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

}  // namespace
