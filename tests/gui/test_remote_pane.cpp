#include "gui/pane_fixture.h"
#include "link_engine/transfer_state.h"
#include "side_function/copy_source.h"
#include "side_function/left_side.h"
#include "side_function/right_side.h"
#include "side_function/transfer.h"
#include "tree_view_op/file_list_view.h"
#include "ui/base/closing.h"
#include "ui/base/dialogs/file_read_write_dialog.h"
#include "ui/base/jobs.h"
#include "util/path_time_text.h"

namespace {

using gui_test::BoxClosed;
using gui_test::FakeEngine;
using gui_test::kSuccess;
using gui_test::line;
using gui_test::message;
using gui_test::NameGiven;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kRefused = "<T1>NP_Exe_Result_Fail</T1><T2>disk full</T2>";

std::string field(const std::string& tag, const std::string& text) {
    return "<" + tag + ">" + text + "</" + tag + ">";
}

std::string hex_field(const std::string& tag, const std::string& path) {
    return field(tag, relay_hub::unicode_hex(path));
}

class RemotePane : public gui_test::Panes {
  protected:
    // Lists the records as the folder's content, then goes there.
    void show(const std::string& folder, const std::string& records) {
        records_ = records;
        ASSERT_EQ(right_treeview_load_file(nullptr, folder), 0);
    }

    std::string answer(const std::string& request) {
        const bool listing = request.find("NP_Cmd_Get_File_List") != std::string::npos;
        return listing ? message(kSuccess + records_) : answer_;
    }

    static std::string folder() { return relay_hub::current_folder(get_UI_sets()->right_side); }

    std::string records_;                     // of the next listings
    std::string answer_ = message(kSuccess);  // to every other request
    FakeEngine engine_{[this](const std::string& request) { return answer(request); }};
};

TEST_F(RemotePane, ANewFolderIsMadeWhereThePaneStandsAndBecomesSelected) {
    const struct {
        const char* folder;
        const char* made;
    } cases[] = {{"C:\\", "C:\\new"}, {"C:\\Data\\", "C:\\Data\\new"}, {"/home", "/home/new"}, {"/", "/new"}};
    for (const auto& c : cases) {
        show(c.folder, line("a", "1") + line("new", "1"));
        const NameGiven dialog("IDS_MN_ADDNEWFOLDER", "new");
        EXPECT_EQ(right_popup_menu_mkdir(nullptr, nullptr), 0);
        EXPECT_THAT(engine_.requests("NP_Cmd_Create_Folder").back(),
                    HasSubstr(field("TG", c.made) + hex_field("TF", c.made)));
        EXPECT_EQ(selected(remote_), "new");
    }
}

TEST_F(RemotePane, DeletingSendsTheSelectionInReverseAndSelectsTheNextRow) {
    show("C:\\", line("a", "0") + line("b", "1") + line("c", "0") + line("d", "0"));
    remote_.select({0, 1, 2});
    records_ = line("d", "0") + line("e", "0");
    answer_ = message(kRefused);
    const BoxClosed box("disk full");
    EXPECT_EQ(right_popup_menu_delete(nullptr, nullptr), 0);
    EXPECT_TRUE(box.done());
    const auto record = [](const char* path) { return field("Line", hex_field("TF", path)); };
    EXPECT_THAT(engine_.requests("NP_Cmd_Move_File_To_Trash"),
                ElementsAre(HasSubstr(field("T8", record("C:\\c") + record("C:\\b") + record("C:\\a")))));
    EXPECT_EQ(selected(remote_), "d");
    EXPECT_EQ(g_pUpdateFun, nullptr);
}

TEST_F(RemotePane, ADeletionThatFailsWithoutAReasonIsToldToo) {
    show("/home", line("a", "0"));
    remote_.select({1});
    answer_ = message("");
    const BoxClosed box("Operation Fail.");
    right_popup_menu_delete(nullptr, nullptr);
    EXPECT_TRUE(box.done());
}

TEST_F(RemotePane, NeitherTheParentRowNorANamelessOneIsEverDeleted) {
    show("/home", line("", "1"));
    remote_.select({0, 1});
    right_popup_menu_delete(nullptr, nullptr);
    EXPECT_THAT(engine_.requests("Trash"), IsEmpty());
}

TEST_F(RemotePane, RemoteCopiesStayRemote) {
    show("/home", line("a", "0"));
    remote_.select({1});
    right_popup_menu_copy(nullptr, remote_.view());
    EXPECT_THAT(get_copy_to_remote_file_list(), ElementsAre("/home/a"));
    EXPECT_EQ(right_popup_menu_paste(nullptr, nullptr), -1);
    EXPECT_EQ(g_copy_source, kNothingCopied);
    EXPECT_THAT(get_copy_to_remote_file_list(), IsEmpty());
    EXPECT_THAT(engine_.requests("To_Remote"), IsEmpty());
}

// The attribute document of a copy record, as it is escaped inside the record.
std::string attributes(const std::string& word, const std::string& size) {
    const auto escaped = [](const std::string& tag, const std::string& text) {
        return "&lt;" + tag + "&gt;" + text + "&lt;/" + tag + "&gt;";
    };
    return escaped("TN", word) + escaped("TZ", "0") + escaped("TZ1", size) + escaped("TP", "0") +
           escaped("TQ", "100") + escaped("TS", "0") + escaped("TT", "200") + escaped("TV", "0") +
           escaped("TW", "300");
}

TEST_F(RemotePane, RemoteItemsTravelWithTheAttributesOfTheirRows) {
    test::Sandbox target;
    relay_hub::set_current_folder(get_UI_sets()->left_side, target.at().c_str());
    for (const bool browsed_on : {false, true}) {
        show("/home", line("dir", "1", "4096") + line("f", "0", "7"));
        remote_.select({1, 2});
        right_popup_menu_copy(nullptr, remote_.view());
        remote_.select({});
        if (browsed_on)
            show("/elsewhere", line("f", "1", "999"));
        target.make_file(browsed_on ? "second" : "first");
        EXPECT_EQ(left_popup_menu_paste(nullptr, nullptr), 0);
        EXPECT_THAT(names(local_), HasSubstr(browsed_on ? "second" : "first"));
        EXPECT_EQ(g_copy_source, kNothingCopied);
        const std::string request = engine_.requests("NP_Cmd_Remote_to_Local").back();
        EXPECT_THAT(request, HasSubstr(field("TA", "/home/dir") + hex_field("TC", "/home/dir") +
                                       field("T9", target.at())));
        EXPECT_THAT(request, HasSubstr(attributes("16", "4096")));
        EXPECT_THAT(request, HasSubstr(attributes("0", "7")));
        EXPECT_THAT(request, Not(HasSubstr("999")));
    }
}

TEST_F(RemotePane, CancelledWhileBeingPreparedNothingIsSent) {
    show("/home", "");
    const int result = relay_hub::paste_into_remote_folder([] {
        gtk_button_clicked(GTK_BUTTON(get_file_read_write_dialog_info()->cancel_button));
        return std::vector<std::string>{"/etc/hostname"};
    });
    EXPECT_EQ(result, -1);
    EXPECT_THAT(engine_.requests("NP_Cmd_Local_To_Remote"), IsEmpty());
    EXPECT_EQ(IsUserClickCancel(), 0);
    EXPECT_EQ(get_file_read_write_dialog_info()->dialog, nullptr);
}

TEST_F(RemotePane, AClosingProgramStartsNothing) {
    relay_hub::close_window();
    for (const auto action : {right_popup_menu_mkdir, right_popup_menu_rename, right_popup_menu_delete,
                              right_popup_menu_paste, left_popup_menu_mkdir, left_popup_menu_delete,
                              left_popup_menu_rename, left_popup_menu_refresh, left_popup_menu_paste})
        EXPECT_EQ(action(nullptr, remote_.view()), -1);
    EXPECT_EQ(right_treeview_load_file(nullptr, "/"), -1);
    relay_hub::reset_closing();
    EXPECT_THAT(engine_.requests("NP_Cmd"), IsEmpty());
}

TEST_F(RemotePane, ClosingInTheMiddleOfATransferEndsItAtOnce) {
    std::atomic<bool> asked = false;
    std::atomic<bool> free = false;
    FakeEngine silent([&](const std::string&) {
        asked = true;
        free.wait(false);
        return message(kRefused);
    });
    const gui_test::When closing([&] { return asked.load(); }, relay_hub::close_window);
    EXPECT_EQ(relay_hub::paste_into_remote_folder([] { return std::vector<std::string>{"/etc/hostname"}; }),
              -1);
    EXPECT_TRUE(closing.done());
    EXPECT_EQ(gui_test::find_window_with("disk full"), nullptr);
    relay_hub::reset_closing();
    free = true;
    free.notify_all();
}

class Progress : public testing::Test {
  protected:
    Progress() {
        atomic_flag = 0;
        CleanUpInformationVar();
        set_change_flag(0);
        info_.dialog = gtk_window_new(GTK_WINDOW_TOPLEVEL);
        GtkWidget* box = gtk_vbox_new(FALSE, 0);
        gtk_container_add(GTK_CONTAINER(info_.dialog), box);
        info_.progress_bar = gtk_progress_bar_new();
        info_.message_label = gtk_label_new("");
        info_.second_label = gtk_label_new("");
        for (GtkWidget* part : {info_.progress_bar, info_.message_label, info_.second_label})
            gtk_container_add(GTK_CONTAINER(box), part);
        info_.job.task_kind = &kind_;
    }
    ~Progress() override { gtk_widget_destroy(info_.dialog); }

    double percent() const {
        return gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(info_.progress_bar)) * 100;
    }
    std::string text() const { return gtk_label_get_text(GTK_LABEL(info_.message_label)); }

    dialog_info info_;
    int kind_ = TASK_COPY;
};

TEST_F(Progress, ACopyShowsItsTextAndNeverGoesBackWithinOneFile) {
    const std::string sixty(60, 'x');
    std::string accents;
    for (int i = 0; i < 56; ++i)
        accents += "\u00E9";
    const struct {
        std::string told;
        float current, total;
        std::string shown;
        double percent;
    } cases[] = {
        {"a", 1, 4, "a", 25},
        {"a", 0, 4, "a", 25},
        {"a", 2, 4, "a", 50},
        {"b", 1, 4, "b", 25},
        {"c", 1, 0, "c", 0},
        {"d", 9, 4, "d", 100},
        {sixty, 1, 2, sixty.substr(0, 53) + "...", 50},
        {sixty.substr(0, 55), 1, 2, sixty.substr(0, 55), 50},
        {accents, 1, 2, accents.substr(0, 106) + "...", 50},
        {"\xFFz", 1, 2, "\uFFFDz", 50},
    };
    for (const auto& c : cases) {
        SetProgressInfo(c.told.c_str());
        SetCurrentPercentage(c.current);
        SetTotalPercent(c.total);
        EXPECT_TRUE(update_dialog_info(&info_));
        EXPECT_EQ(text(), c.shown);
        EXPECT_NEAR(percent(), c.percent, 0.01) << c.told;
    }
    SetEnableInformation(kSwitchOn);
    SetProgressInfo("half written");
    EXPECT_TRUE(update_dialog_info(&info_));
    EXPECT_EQ(text(), "\uFFFDz");
}

}  // namespace
