#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>

#include <algorithm>

#include "gui/window_fixture.h"
#include "side_function/copy_source.h"
#include "tree_view_op/file_list_view.h"
#include "ui/base/closing.h"
#include "ui/desktop_locale.h"
#include "ui/event_handlers.h"
#include "ui/main_window.h"
#include "ui/menus.h"
#include "ui/navigation.h"

namespace {

using gui_test::mouse;
using gui_test::printed;
using gui_test::row_names;
using gui_test::selected_names;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class MainWindow : public gui_test::MainWindowTest {
  protected:
    MainWindow() {
        sandbox_.make_folder("folder");
        sandbox_.make_file("folder/inside");
        sandbox_.make_file("one");
        sandbox_.make_file("two");
        open_local(sandbox_.at());
    }
    // ".." 0, "folder" 1, "one" 2, "two" 3
    static std::string entry_text() { return gtk_entry_get_text(GTK_ENTRY(local().path_entry)); }
};

TEST_F(MainWindow, OpensFoldersByDoubleClickAndNothingElse) {
    const struct {
        int row;
        guint modifiers;
        guint button;
        const char* leads_to;
    } cases[] = {
        {2, 0, 1, ""}, {1, GDK_CONTROL_MASK, 1, ""}, {1, 0, 2, ""}, {-1, 0, 1, ""}, {1, 0, 1, "folder"}};
    for (const auto& test : cases) {
        mouse(local(), GDK_2BUTTON_PRESS, test.button, test.row);
        EXPECT_EQ(single_clicked, kDoubleClickPressed);
        mouse(local(), GDK_BUTTON_RELEASE, test.button, test.row, test.modifiers);
        EXPECT_EQ(single_clicked, kClickIdle);
        EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.at(test.leads_to)) << test.row;
    }
    EXPECT_EQ(entry_text(), sandbox_.at("folder"));
    EXPECT_THAT(row_names(local()), ElementsAre("..", "inside"));
}

TEST_F(MainWindow, SelectsTheFolderThatWasLeft) {
    open_local(sandbox_.at("folder"));
    gui_test::press_key(local().tree_view, GDK_KEY_BackSpace);
    EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.at());
    EXPECT_THAT(selected_names(local()), ElementsAre("folder"));
}

TEST_F(MainWindow, PastesByKeyOnlyWhatTheMenuWouldOffer) {
    g_copy_source = kCopiedLocally;
    g_p_tree_view = local().tree_view;
    EXPECT_THAT(printed([] { gui_test::press_key(local().tree_view, GDK_KEY_v, GDK_CONTROL_MASK); }),
                Not(HasSubstr("paste!")));
}

TEST_F(MainWindow, ScrollsToTheSelectedRowAfterARefresh) {
    for (int number = 100; number < 160; ++number)
        sandbox_.make_file("file" + std::to_string(number));
    open_local(sandbox_.at());
    GtkTreeView* list = GTK_TREE_VIEW(local().tree_view);
    const auto names = row_names(local());
    const auto row_150 = std::find(names.begin(), names.end(), "file150") - names.begin();
    const auto row_150_shows = [&] {
        GtkTreePath* last = nullptr;
        if (gtk_tree_view_get_visible_range(list, nullptr, &last) == FALSE)
            return false;
        const int shown_to = gtk_tree_path_get_indices(last)[0];
        gtk_tree_path_free(last);
        return row_150 <= shown_to;
    };
    for (int time = 0; time < 2; ++time) {
        relay_hub::select_row_by_name(local().tree_view, "file150");
        EXPECT_TRUE(gui_test::run_until(row_150_shows, std::chrono::seconds(2))) << time;
        gui_test::press_key(local().tree_view, GDK_KEY_F5);
    }
}

TEST_F(MainWindow, StartsNothingWhileAnotherActionRuns) {
    const relay_hub::WindowWork running;
    gtk_entry_set_text(GTK_ENTRY(local().path_entry), sandbox_.at("folder").c_str());
    gtk_button_clicked(GTK_BUTTON(local().go_button));
    gui_test::press_key(local().tree_view, GDK_KEY_BackSpace);
    mouse(local(), GDK_2BUTTON_PRESS, 1, 1);
    mouse(local(), GDK_BUTTON_RELEASE, 1, 1);
    EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.at());
}

TEST_F(MainWindow, SortsByNameOnceAndIsNotTurnedRoundByASecondClick) {
    GtkTreeSortable* list = GTK_TREE_SORTABLE(gtk_tree_view_get_model(GTK_TREE_VIEW(remote().tree_view)));
    int column = -1;
    GtkSortType order = GTK_SORT_DESCENDING;
    for (int reconnection = 0; reconnection < 3; ++reconnection) {
        relay_hub::sort_by_name(&remote());
        ASSERT_TRUE(gtk_tree_sortable_get_sort_column_id(list, &column, &order));
        EXPECT_EQ(column, 0);
        EXPECT_EQ(order, GTK_SORT_ASCENDING);
    }
}

TEST_F(MainWindow, ClosesEvenUnderAModalDialogAndOnlyOnceItsWorkHasUnwound) {
    GtkWidget* dialog = gtk_dialog_new();
    gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
    gtk_widget_show(dialog);
    {
        const relay_hub::WindowWork running;
        GdkEvent* event = gdk_event_new(GDK_DELETE);
        event->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(get_UI_sets()->main_window)));
        event->any.send_event = TRUE;
        gdk_event_put(event);
        gdk_event_free(event);
        EXPECT_TRUE(gui_test::run_until(relay_hub::window_is_closing));
        gui_test::run_pending();
        EXPECT_FALSE(relay_hub::main_window_is_gone());
    }
    EXPECT_TRUE(gui_test::run_until(relay_hub::main_window_is_gone));
    relay_hub::reset_closing();
    gtk_widget_destroy(dialog);
}

TEST_F(MainWindow, OffersPasteWhereSomethingCanBePasted) {
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

TEST_F(MainWindow, StartsNoMenuActionWhileAnotherActionRuns) {
    ASSERT_TRUE(relay_hub::select_row_by_name(local().tree_view, "one"));
    const relay_hub::WindowWork running;
    on_popup_menu_copy(nullptr, local().tree_view);
    on_popup_menu_delete(nullptr, local().tree_view);
    EXPECT_EQ(g_copy_source, kNothingCopied);
    EXPECT_EQ(gui_test::find_window("IDS_CONFIRMATION"), nullptr);
}

TEST(TypedRemotePath, LeadsWhereItWasMeant) {
    const struct {
        const char* typed;
        const char* folder;
        const char* result;
    } cases[] = {{"Docs", "/home", "/home/Docs/"},
                 {"/etc", "/home", "/etc/"},
                 {"../x", "/home/me", "/home/x/"},
                 {"D:\\Music", "C:\\", "D:\\Music\\"},
                 {"Docs", "C:\\Data\\", "C:\\Data\\Docs\\"},
                 {"..", "C:\\Data", "C:\\"},
                 {"C:\\", "", "C:\\"},
                 {"/", "/", "/"}};
    for (const auto& test : cases)
        EXPECT_EQ(relay_hub::typed_remote_path(test.typed, test.folder), test.result) << test.typed;
}

TEST(Locale, OnlyTheTwelveSpellingsAreKept) {
    for (const char* kept : {"en_US.UTF-8", "es_AR.UTF-8", "zh_TW.UTF-8", "ru_RU.UTF-8"})
        EXPECT_STREQ(relay_hub::supported_locale(kept), kept);
    for (const char* other : {"es_ES.UTF-8", "en_US.utf8", "C", "", "de_DE", "EN_US.UTF-8"})
        EXPECT_STREQ(relay_hub::supported_locale(other), "en_US.UTF-8") << other;
    EXPECT_STREQ(relay_hub::supported_locale(nullptr), "en_US.UTF-8");
}

}  // namespace
