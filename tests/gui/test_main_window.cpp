#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "gui/pane_fixture.h"
#include "gui/window_fixture.h"
#include "side_function/copy_source.h"
#include "tree_view_op/file_list_view.h"
#include "ui/base/closing.h"
#include "ui/desktop_locale.h"
#include "ui/event_handlers.h"
#include "ui/main_window.h"
#include "ui/navigation.h"

namespace {

using gui_test::menu_labels;
using gui_test::mouse;
using gui_test::printed;
using gui_test::row_names;
using gui_test::select_rows;
using gui_test::selected_names;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
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

TEST_F(MainWindow, ShowsTheLocalSideAndTheOfflineMessage) {
    const struct {
        GtkWidget* widget;
        bool visible;
    } cases[] = {{local().tree_view, true},        {local().status_label, false},
                 {remote().status_label, false},   {remote().content_box, false},
                 {remote().offline_box, true},     {remote().spare_button, false},
                 {remote().disconnect_label, true}};
    for (const auto& test : cases)
        EXPECT_EQ(gtk_widget_get_visible(test.widget) != FALSE, test.visible) << &test - cases;
}

TEST_F(MainWindow, NamesWhatTheKeyboardReaches) {
    for (const __single* side : {&local(), &remote()}) {
        for (GtkWidget* widget : {side->path_entry, side->go_button, side->drive_combo, side->tree_view}) {
            AtkObject* accessible = gtk_widget_get_accessible(widget);
            EXPECT_STRNE(atk_object_get_name(accessible), "") << G_OBJECT_TYPE_NAME(widget);
            EXPECT_STREQ(atk_object_get_description(accessible), gtk_frame_get_label(GTK_FRAME(side->frame)));
        }
    }
}

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

TEST_F(MainWindow, KeepsASelectionOfSeveralForADrag) {
    const struct {
        std::vector<int> selected;
        int row;
        guint modifiers;
        bool kept;
    } cases[] = {{{2, 3}, 2, 0, true},
                 {{2, 3}, 1, 0, false},
                 {{2}, 2, 0, false},
                 {{2, 3}, 2, GDK_CONTROL_MASK, false}};
    for (const auto& test : cases) {
        select_rows(local().tree_view, test.selected);
        mouse(local(), GDK_BUTTON_PRESS, 1, test.row, test.modifiers);
        EXPECT_EQ(single_clicked, test.kept ? kSelectionPressed : kClickIdle) << test.row;
        EXPECT_TRUE(!test.kept || selected_names(local()).size() == 2);
        mouse(local(), GDK_BUTTON_RELEASE, 1, test.row, test.modifiers | GDK_BUTTON1_MASK);
        EXPECT_EQ(single_clicked, kClickIdle);
    }
}

TEST_F(MainWindow, OpensItsMenuByTheRightButton) {
    const struct {
        std::vector<int> selected;
        int row;
        bool opens;
        std::vector<std::string> then_selected;
    } cases[] = {{{}, 2, true, {"one"}},
                 {{2}, 3, true, {"two"}},
                 {{2, 3}, 1, true, {"one", "two"}},
                 {{2, 3}, 0, true, {"one", "two"}},
                 {{2}, 0, false, {}},
                 {{}, -1, true, {}}};
    for (const auto& test : cases) {
        select_rows(local().tree_view, test.selected);
        mouse(local(), GDK_BUTTON_PRESS, 3, test.row);
        EXPECT_EQ(selected_names(local()), test.then_selected) << test.row;
        EXPECT_EQ(!menu_labels().empty(), test.opens) << test.row;
        if (GtkWidget* menu = gui_test::open_menu())
            gtk_menu_shell_cancel(GTK_MENU_SHELL(menu));
        gui_test::run_pending();
        EXPECT_THAT(menu_labels(), IsEmpty());
    }
}

TEST_F(MainWindow, DoesByKeyWhatTheMenuDoes) {
    const struct {
        guint key;
        guint modifiers;
        const char* line;
    } cases[] = {{GDK_KEY_c, GDK_CONTROL_MASK, "copy!"},
                 {GDK_KEY_C, GDK_CONTROL_MASK, "copy!"},  // Caps Lock
                 {GDK_KEY_F5, 0, "on_popup_menu_refresh"},
                 {GDK_KEY_Delete, 0, "delete!"}};
    for (const auto& test : cases) {
        select_rows(local().tree_view, {});
        const std::string lines =
            printed([&] { EXPECT_TRUE(gui_test::press_key(local().tree_view, test.key, test.modifiers)); });
        EXPECT_THAT(lines, HasSubstr("on_treeview_1_key_press_event\n"));
        EXPECT_THAT(lines, HasSubstr(test.line)) << test.key;
    }
    gui_test::press_key(local().tree_view, GDK_KEY_a, GDK_CONTROL_MASK);
    EXPECT_THAT(selected_names(local()), ElementsAre("folder", "one", "two"));
    EXPECT_FALSE(gui_test::press_key(local().tree_view, GDK_KEY_Escape));
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

TEST_F(MainWindow, OpensTheMenuByKey) {
    gboolean handled = FALSE;
    g_signal_emit_by_name(local().tree_view, "popup-menu", &handled);
    EXPECT_TRUE(handled);
    EXPECT_THAT(menu_labels(), Contains("IDS_REFRESH_ALIAS"));
}

TEST_F(MainWindow, MovesBetweenThePanesByTab) {
    EXPECT_FALSE(gui_test::press_key(local().tree_view, GDK_KEY_Tab));  // the remote list does not show
    fill_remote("C:\\", {{"Docs", "1"}});
    GtkWindow* window = GTK_WINDOW(get_UI_sets()->main_window);
    EXPECT_TRUE(gui_test::press_key(local().tree_view, GDK_KEY_Tab));
    EXPECT_EQ(gtk_window_get_focus(window), remote().tree_view);
    EXPECT_TRUE(gui_test::press_key(remote().tree_view, GDK_KEY_Tab));
    EXPECT_EQ(gtk_window_get_focus(window), local().tree_view);
}

TEST_F(MainWindow, ReturnInAnEntryClicksGoAndIsPassedOn) {
    gtk_entry_set_text(GTK_ENTRY(local().path_entry), sandbox_.at("folder/../folder").c_str());
    GdkEventKey key{};
    for (const auto& [value, folder] : {std::pair(GDK_KEY_a, ""), std::pair(GDK_KEY_Return, "folder")}) {
        key.keyval = static_cast<guint>(value);
        EXPECT_FALSE(on_textbox_1_key_press_event(local().path_entry, &key, nullptr));
        EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.at(folder));
    }
}

TEST_F(MainWindow, TellsOfAFolderThatIsNotThereAndStays) {
    gtk_entry_set_text(GTK_ENTRY(local().path_entry), "/does/not/exist");
    const gui_test::BoxClosed box("IDS_ERROR_PATH");
    gtk_button_clicked(GTK_BUTTON(local().go_button));
    EXPECT_TRUE(box.done());
    EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.at());
    EXPECT_THAT(row_names(local()), Contains("one"));
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

TEST_F(MainWindow, OpensTheChosenDrive) {
    EXPECT_THAT(printed([] { gtk_combo_box_set_active(GTK_COMBO_BOX(local().drive_combo), -1); }), IsEmpty());
    GtkTreeModel* drives = gtk_combo_box_get_model(GTK_COMBO_BOX(local().drive_combo));
    gtk_combo_box_set_active(GTK_COMBO_BOX(local().drive_combo),
                             gtk_tree_model_iter_n_children(drives, nullptr) - 1);
    EXPECT_STREQ(relay_hub::current_folder(&local()), "/");
    EXPECT_EQ(entry_text(), "/");
    EXPECT_THAT(row_names(local()), Not(Contains("..")));
    // Backspace has nowhere to go.
    gui_test::press_key(local().tree_view, GDK_KEY_BackSpace);
    EXPECT_STREQ(relay_hub::current_folder(&local()), "/");
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

TEST_F(MainWindow, ADropUnselectsTheOtherList) {
    fill_remote("C:\\", {{"Docs", "1"}});
    select_rows(remote().tree_view, {0});
    select_rows(local().tree_view, {2});
    EXPECT_TRUE(on_treeview_1_drag_drop(local().tree_view, nullptr, 0, 0, 0, nullptr));
    EXPECT_THAT(selected_names(remote()), IsEmpty());
    EXPECT_THAT(selected_names(local()), ElementsAre("one"));
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
