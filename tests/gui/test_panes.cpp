#include "gui/pane_fixture.h"
#include "side_function/Zev_right_side.h"
#include "side_function/actions.h"
#include "side_function/copy_source.h"
#include "side_function/drag_and_drop.h"
#include "side_function/left_side.h"
#include "ui/navigation.h"

namespace {

using namespace gui_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const std::string kRefused = "<T1>NP_Exe_Result_Fail</T1><T2>disk full</T2>";

class RemotePane : public Panes {
  protected:
    // Lists the records as the folder's content, then goes there.
    void show(const std::string& folder, const std::string& records) {
        records_ = records;
        ASSERT_EQ(right_treeview_load_file(nullptr, folder), 0);
    }

    std::string answer(const std::string& request) {
        for (const std::string& folder : gone_)
            if (request.find(field("TG", folder)) != std::string::npos)
                return message(kRefused);
        const bool listing = request.find("NP_Cmd_Get_File_List") != std::string::npos;
        return listing ? message(kSuccess + records_) : answer_;
    }

    std::vector<std::string> gone_;           // folders that cannot be listed
    std::string records_;                     // of the next listings
    std::string answer_ = message(kSuccess);  // to every other request
    FakeEngine engine_{[this](const std::string& request) { return answer(request); }};
};

TEST_F(RemotePane, DeletingSendsTheSelectedNamesInReverseAndSelectsTheNextRow) {
    show("C:\\x", line("a", "0") + line("b", "1") + line("c", "0") + line("", "1") + line("d", "0"));
    remote_.select({0, 1, 2, 3, 4});  // the parent row and the nameless one too
    records_ = line("d", "0") + line("e", "0");
    answer_ = message(kRefused);
    const WhenAsked box("disk full", GTK_RESPONSE_OK);
    EXPECT_EQ(right_popup_menu_delete(nullptr, nullptr), 0);
    EXPECT_TRUE(box.done());
    const auto record = [](const char* path) { return field("Line", hex_field("TF", path)); };
    EXPECT_THAT(
        engine_.requests("NP_Cmd_Move_File_To_Trash"),
        ElementsAre(HasSubstr(field("T8", record("C:\\x\\c") + record("C:\\x\\b") + record("C:\\x\\a")))));
    EXPECT_EQ(selected(remote_), "d");
}

TEST_F(RemotePane, NoActionTakesANameThatIsAPath) {
    using relay_hub::Action;
    using relay_hub::Pane;
    show("/home", line("../x", "1") + line("a\\b", "0"));
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"rename", [] { relay_hub::run_action(Pane::remote(), Action::rename); }},
        {"delete", [] { relay_hub::run_action(Pane::remote(), Action::remove); }},
        {"copy", [] { relay_hub::run_action(Pane::remote(), Action::copy); }},
        {"cut", [] { relay_hub::run_action(Pane::remote(), Action::cut); }},
        {"copy across", [] { relay_hub::run_action(Pane::remote(), Action::copy_across); }},
        {"open", [] { relay_hub::open_sub_folder(get_UI_sets()->right_side, "../x"); }},
        {"drag",
         [] {
             GtkSelectionData dragged{};
             right_drag_data_get(nullptr, nullptr, &dragged, kUriListTarget, 0, nullptr);
             remote_receive_data(nullptr, &dragged);
             g_free(dragged.data);
         }},
    };
    const std::size_t sent = engine_.requests("NP_Cmd").size();
    for (const auto& [what, act] : cases) {
        remote_.select({1, 2});
        const WhenAsked box("IDS_MSG_NAME_IS_PATH", GTK_RESPONSE_OK);
        act();
        EXPECT_TRUE(box.done()) << what;
        EXPECT_EQ(engine_.requests("NP_Cmd").size(), sent) << what;
        EXPECT_EQ(g_copy_source, kNothingCopied) << what;
    }
    // Without a drive letter a backslash is a character like any other.
    remote_.select({2});
    right_popup_menu_delete(nullptr, nullptr);
    EXPECT_THAT(engine_.requests("Trash"), ElementsAre(HasSubstr(hex_field("TF", "/home/a\\b"))));
}

TEST_F(RemotePane, ACancelledNameReadsNoListAgain) {
    const test::Sandbox folder;
    folder.make_file("old");
    relay_hub::set_current_folder(get_UI_sets()->left_side, folder.at().c_str());
    ASSERT_EQ(left_treeview_load_file(nullptr, folder.at()), 0);
    show("/home", line("a", "0"));
    remote_.select({1});
    local_.select({1});
    folder.make_file("unseen");
    const std::size_t sent = engine_.requests("NP_Cmd").size();
    const std::pair<const char*, int (*)(GtkWidget*, gpointer)> cases[] = {
        {"IDS_MN_RENAME", right_popup_menu_rename},
        {"IDS_MN_ADDNEWFOLDER", right_popup_menu_mkdir},
        {"IDS_MN_RENAME", left_popup_menu_rename},
        {"IDS_MN_ADDNEWFOLDER", left_popup_menu_mkdir}};
    for (const auto& [title, act] : cases) {
        const WhenAsked shown(title, GTK_RESPONSE_CANCEL);
        EXPECT_EQ(act(nullptr, nullptr), 0);
        EXPECT_TRUE(shown.done()) << title;
        EXPECT_EQ(engine_.requests("NP_Cmd").size(), sent) << title;
        EXPECT_EQ(names(local_), ".. old") << title;
    }
}

TEST_F(RemotePane, TheParentRowOfAVanishedFolderOpensTheNearestThatIsListed) {
    __single* const side = get_UI_sets()->right_side;
    const std::tuple<const char*, std::vector<std::string>, const char*, bool> cases[] = {
        {"/a/b/c/", {}, "/a/b/", false},
        {"/a/b/c/", {"/a/b/", "/a/"}, "/", false},
        {"C:\\a\\b\\", {"C:\\a\\"}, "C:\\", false},
        {"/a/b/c/", {"/a/b/", "/a/", "/"}, "/a/b/c/", true}};
    for (const auto& [from, gone, opened, reported] : cases) {
        gone_.clear();
        show(from, line("f", "0"));
        gone_ = gone;
        const WhenAsked box("disk full\nIDS_ERROR_PATH", GTK_RESPONSE_OK);
        clean_tree_view(side->tree_view);  // as after a refresh that failed
        relay_hub::open_parent_folder(side);
        EXPECT_STREQ(relay_hub::current_folder(side), opened) << from;
        EXPECT_EQ(box.done(), reported) << opened;
    }
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
        EXPECT_EQ(engine_.requests("NP_Cmd_Remote_to_Local").size(), browsed_on ? 2U : 1U);
        const std::string request = engine_.last_request("NP_Cmd_Remote_to_Local");
        EXPECT_THAT(request, HasSubstr(field("TA", "/home/dir") + hex_field("TC", "/home/dir") +
                                       field("T9", target.at())));
        for (const char* attribute :
             {"TN&gt;16&", "TZ1&gt;4096&", "TN&gt;0&", "TZ1&gt;7&", "TQ&gt;100&", "TT&gt;200&", "TW&gt;300&"})
            EXPECT_THAT(request, HasSubstr(attribute));
        EXPECT_THAT(request, Not(HasSubstr("999")));
    }
}

TEST_F(RemotePane, OfWhatIsMovedOnlyWhatArrivedGoesToTheTrash) {
    test::Sandbox target;
    relay_hub::set_current_folder(get_UI_sets()->left_side, target.at().c_str());
    const std::string a = field("Line", hex_field("TF", "/home/a"));
    const std::string b = field("Line", hex_field("TF", "/home/b"));
    const char* const changed = "IDS_MSG_ITEMS_FAILED";
    const std::tuple<std::string, std::string, const char*> cases[] = {
        {kSuccess, b + a, ""},  // an engine that tells of no item
        {kSuccess + field("NP_Move_Arrived", "YN"), a, changed},
        {kSuccess + field("NP_Move_Arrived", "NN"), "", changed},
        {kSuccess + field("NP_Move_Arrived", "Y"), "", changed},
        {kRefused, "", "disk full"},
        {kRefused + field("NP_Move_Arrived", "NY"), b, "disk full"}};
    for (const auto& [answer, trashed, told] : cases) {
        show("/home", line("a", "0") + line("b", "0"));
        remote_.select({1, 2});
        relay_hub::run_action(relay_hub::Pane::remote(), relay_hub::Action::cut);
        answer_ = message(answer);
        const std::size_t before = engine_.requests("Trash").size();
        const std::string text = told;
        const When box([&text] { return !text.empty() && find_window(text) != nullptr; },
                       [this, &text] {
                           answer_ = message(kSuccess);
                           gtk_dialog_response(GTK_DIALOG(find_window(text)), GTK_RESPONSE_OK);
                       });
        left_popup_menu_paste(nullptr, nullptr);
        EXPECT_EQ(engine_.requests("Trash").size() - before, trashed.empty() ? 0U : 1U) << answer;
        if (!trashed.empty()) {
            EXPECT_THAT(engine_.last_request("Trash"), HasSubstr(field("T8", trashed)));
        }
    }
}

TEST_F(RemotePane, FilesThatAnotherProgramCopiesLaterReplaceOurCopy) {
    const test::Sandbox folder;
    relay_hub::set_current_folder(get_UI_sets()->left_side, folder.at().c_str());
    folder.make_file("ours");
    ASSERT_EQ(left_treeview_load_file(nullptr, folder.at()), 0);
    show("/home", line("r", "0"));
    const test::Sandbox source;
    std::string uris = "file://" + source.make_file("theirs", "content") + "\r\n";
    // Another program: a second connection to the X server.
    GdkDisplay* display = gdk_display_open(nullptr);
    GtkClipboard* clipboard = gtk_clipboard_get_for_display(display, GDK_SELECTION_CLIPBOARD);
    for (const auto& [list, copy] :
         {std::pair(&local_, &left_popup_menu_copy), {&remote_, &right_popup_menu_copy}}) {
        list->select({1});
        ASSERT_EQ(copy(nullptr, list->view()), 0);
        offer(clipboard, "text/uri-list", uris);
        gdk_display_sync(display);
        EXPECT_TRUE(run_until([] { return g_copy_source == kNothingCopied; }));
    }
    EXPECT_EQ(left_popup_menu_paste(nullptr, nullptr), 0);
    EXPECT_EQ(test::content(folder.at("theirs")), "content");
    EXPECT_TRUE(relay_hub::clipboard_offers_files()) << "the other program's offer is not ours to end";
    {
        const relay_hub::WindowWork work;
        EXPECT_FALSE(relay_hub::clipboard_offers_files())
            << "a wait inside another loses memory of the toolkit's";
    }
    gtk_clipboard_clear(clipboard);
}

}  // namespace
