#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>

#include <filesystem>

#include "gui/window_fixture.h"
#include "side_function/copy_source.h"
#include "tree_view_op/file_list_view.h"
#include "ui/base/closing.h"
#include "ui/menus.h"

namespace {

using gui_test::menu_labels;
using testing::ElementsAre;
using testing::IsEmpty;

using Labels = std::vector<std::string>;

class Menus : public gui_test::MainWindowTest {
  protected:
    Menus() {
        sandbox_.make_file("one");
        sandbox_.make_file("two");
        sandbox_.make_folder("folder");
        open_local(sandbox_.at());
    }
};

TEST_F(Menus, HoldTheItemsOfTheirFlagsInOrder) {
    const struct {
        int flags;
        Labels labels;
    } cases[] = {
        {0, {}},
        {2, {}},
        {kMenuCopy | kMenuRefresh, {"IDS_MN_COPY", "IDS_REFRESH_ALIAS"}},
        {kMenuRename | kMenuNewFolder, {"-", "IDS_TXT_NEWFOLDER", "-", "IDS_MN_RENAME"}},
        {kMenuAbout, {"-", "IDS_MENUITEM_ABOUT"}},
        {-1,
         {"IDS_MN_COPY", "IDS_MN_PASTE", "IDS_MN_DELETE", "-", "IDS_TXT_NEWFOLDER", "-", "IDS_MN_RENAME",
          "IDS_REFRESH_ALIAS", "-", "IDS_MENUITEM_ABOUT"}},
    };
    for (const auto& test : cases) {
        GtkWidget* menu =
            new_popup_menu(local().tree_view, nullptr, static_cast<_popup_menu_switch>(test.flags), nullptr);
        EXPECT_EQ(gui_test::labels_of(menu), test.labels) << test.flags;
        gtk_widget_destroy(menu);
    }
}

TEST_F(Menus, OfferPasteWhereSomethingCanBePasted) {
    fill_remote("C:\\", {{"Docs", "1"}});
    const struct {
        const char* what;
        int source;
        GtkWidget* copied_in;
        bool local;
        bool remote;
    } cases[] = {{"nothing copied", kNothingCopied, nullptr, false, false},
                 {"copied in the local list", kCopiedLocally, local().tree_view, false, true},
                 {"copied in the remote list", kCopiedRemotely, remote().tree_view, true, false}};
    for (const auto& test : cases) {
        g_copy_source = test.source;
        g_p_tree_view = test.copied_in;
        EXPECT_EQ((relay_hub::offered_items(local().tree_view) & kMenuPaste) != 0, test.local) << test.what;
        EXPECT_EQ((relay_hub::offered_items(remote().tree_view) & kMenuPaste) != 0, test.remote) << test.what;
        EXPECT_EQ(relay_hub::offered_items(local().tree_view) | kMenuPaste, 0xff) << test.what;
    }
}

TEST_F(Menus, DeleteAsksFirst) {
    gui_test::select_rows(local().tree_view, {});
    on_popup_menu_delete(nullptr, local().tree_view);
    gui_test::select_rows(local().tree_view, {0});
    on_popup_menu_delete(nullptr, local().tree_view);  // only ".." is selected: nothing to ask

    ASSERT_TRUE(relay_hub::select_row_by_name(local().tree_view, "one"));
    const gui_test::When refused([] { return gui_test::find_window("IDS_CONFIRMATION") != nullptr; },
                                 [] {
                                     GtkWidget* dialog = gui_test::find_window("IDS_CONFIRMATION");
                                     EXPECT_THAT(gui_test::label_texts(dialog),
                                                 testing::HasSubstr("IDS_MSG_CONFIRM_DEL_SELETCED_ITEM"));
                                     gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_REJECT);
                                 });
    EXPECT_THAT(gui_test::printed([&] { on_popup_menu_delete(nullptr, local().tree_view); }),
                testing::HasSubstr("result:" + std::to_string(GTK_RESPONSE_REJECT)));
    EXPECT_TRUE(refused.done());
    EXPECT_TRUE(std::filesystem::exists(sandbox_.at("one")));
}

TEST_F(Menus, CopyRemembersWhereItWasMade) {
    fill_remote("C:\\Data", {{"..", "R"}, {"a", "0"}, {"b", "1"}});
    gui_test::select_rows(remote().tree_view, {0, 1, 2});
    on_popup_menu_copy(nullptr, remote().tree_view);
    EXPECT_EQ(get_old_copy_path(), "C:\\Data");
    EXPECT_EQ(g_copy_source, kCopiedRemotely);
    EXPECT_EQ(g_p_tree_view, remote().tree_view);
    EXPECT_THAT(get_copy_to_remote_file_list(), testing::UnorderedElementsAre("C:\\Data\\a", "C:\\Data\\b"));

    ASSERT_TRUE(relay_hub::select_row_by_name(local().tree_view, "one"));
    on_popup_menu_copy(nullptr, local().tree_view);
    EXPECT_EQ(get_old_copy_path(), sandbox_.at());
    EXPECT_THAT(g_pClipboardFileList, ElementsAre(sandbox_.at("one")));
}

TEST_F(Menus, StartNothingWhileAnotherActionRuns) {
    ASSERT_TRUE(relay_hub::select_row_by_name(local().tree_view, "one"));
    const relay_hub::WindowWork running;
    on_popup_menu_copy(nullptr, local().tree_view);
    on_popup_menu_delete(nullptr, local().tree_view);
    EXPECT_EQ(g_copy_source, kNothingCopied);
    EXPECT_EQ(gui_test::find_window("IDS_CONFIRMATION"), nullptr);
}

TEST_F(Menus, GoAwayOnceAnItemWasChosen) {
    ASSERT_TRUE(relay_hub::select_row_by_name(local().tree_view, "one"));
    new_popup_menu(local().tree_view, nullptr, kMenuCopy, nullptr);
    ASSERT_THAT(menu_labels(), ElementsAre("IDS_MN_COPY"));
    GtkWidget* menu = gui_test::open_menu();
    GList* items = gtk_container_get_children(GTK_CONTAINER(menu));
    gtk_menu_shell_activate_item(GTK_MENU_SHELL(menu), GTK_WIDGET(items->data), TRUE);
    g_list_free(items);
    gui_test::run_pending();
    EXPECT_EQ(g_copy_source, kCopiedLocally);
    EXPECT_THAT(menu_labels(), IsEmpty());
}

}  // namespace
