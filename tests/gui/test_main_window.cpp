#include <gdk/gdkkeysyms.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "gui/window_fixture.h"
#include "side_function/copy_source.h"
#include "tree_view_op/file_list_view.h"
#include "ui/base/closing.h"
#include "ui/desktop_locale.h"
#include "ui/event_handlers.h"
#include "ui/main_window.h"
#include "ui/navigation.h"
#include "ui/window_icon.h"

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
        open_local(sandbox_.path());
    }
    // ".." 0, "folder" 1, "one" 2, "two" 3
    [[nodiscard]] std::string entry_text(const __single& side) const {
        return gtk_entry_get_text(GTK_ENTRY(side.path_entry));
    }
};

// The key alone: what the entry's handler looks at.
GdkEventKey key_event(guint key) {
    GdkEventKey event{};
    event.type = GDK_KEY_PRESS;
    event.keyval = key;
    return event;
}

// A message box beside the main window; null when there is none.
GtkWidget* message_box() {
    GtkWidget* found = nullptr;
    GList* windows = gtk_window_list_toplevels();
    for (const GList* node = windows; node != nullptr; node = node->next) {
        if (GTK_IS_MESSAGE_DIALOG(node->data) && gtk_widget_get_visible(GTK_WIDGET(node->data)) != FALSE)
            found = GTK_WIDGET(node->data);
    }
    g_list_free(windows);
    return found;
}

bool shown(GtkWidget* widget) {
    return gtk_widget_get_visible(widget) != FALSE;
}

std::vector<std::string> target_names(GtkTargetList* list) {
    int count = 0;
    GtkTargetEntry* table = gtk_target_table_new_from_list(list, &count);
    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        names.push_back(std::string(table[i].target) + " " + std::to_string(table[i].flags) + " " +
                        std::to_string(table[i].info));
    gtk_target_table_free(table, count);
    return names;
}

TEST_F(MainWindow, ShowsTheLocalSideAndTheOfflineMessage) {
    EXPECT_TRUE(shown(local().tree_view));
    EXPECT_FALSE(shown(local().status_label));
    EXPECT_FALSE(shown(remote().status_label));
    EXPECT_FALSE(shown(remote().content_box));
    EXPECT_TRUE(shown(remote().offline_box));
    EXPECT_TRUE(shown(remote().disconnect_label));
    EXPECT_EQ(gtk_widget_get_parent(remote().spare_button), nullptr);
    EXPECT_EQ(gtk_paned_get_position(GTK_PANED(get_UI_sets()->paned)), 350);
    int width = 0;
    int height = 0;
    gtk_widget_get_size_request(get_UI_sets()->main_window, &width, &height);
    EXPECT_EQ(width, 700);
    EXPECT_EQ(height, 400);
}

TEST_F(MainWindow, OffersUrisFromTheLocalListAndRowsFromTheRemoteOne) {
    EXPECT_THAT(target_names(gtk_drag_source_get_target_list(local().tree_view)),
                ElementsAre("text/uri-list 0 1"));
    EXPECT_THAT(target_names(gtk_drag_source_get_target_list(remote().tree_view)),
                ElementsAre("GTK_TREE_MODEL_ROW 1 0"));
    for (const __single* side : {&local(), &remote()})
        EXPECT_THAT(target_names(gtk_drag_dest_get_target_list(side->tree_view)),
                    ElementsAre("GTK_TREE_MODEL_ROW 1 0", "text/uri-list 0 1"));
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

TEST_F(MainWindow, SwapsSidesAndTheRemoteWidgetsFollow) {
    swap_side();
    EXPECT_EQ(get_UI_sets()->left_side, &sub[1]);
    swap_side();
    visible_remote_widget();
    EXPECT_TRUE(shown(remote().content_box));
    invisible_remote_widget();
    for (GtkWidget* widget : {remote().content_box, remote().go_button, remote().tree_view})
        EXPECT_FALSE(shown(widget));
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
        EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.path(test.leads_to)) << test.row;
    }
    EXPECT_EQ(entry_text(local()), sandbox_.path("folder"));
    EXPECT_THAT(row_names(local()), ElementsAre("..", "inside"));
}

TEST_F(MainWindow, SelectsTheFolderThatWasLeft) {
    open_local(sandbox_.path("folder"));
    gui_test::press_key(local().tree_view, GDK_KEY_BackSpace);
    EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.path());
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
        select_rows(local(), test.selected);
        mouse(local(), GDK_BUTTON_PRESS, 1, test.row, test.modifiers);
        EXPECT_EQ(single_clicked, test.kept ? kSelectionPressed : kClickIdle) << test.row;
        EXPECT_EQ(selected_names(local()).size() == 2 && test.kept, test.kept);
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
                 {{2}, 0, false, {".."}},
                 {{}, -1, true, {}}};
    for (const auto& test : cases) {
        select_rows(local(), test.selected);
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
        select_rows(local(), {});
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
    open_local(sandbox_.path());
    GtkTreeView* list = GTK_TREE_VIEW(local().tree_view);
    const auto row_150_shows = [list] {
        GtkTreePath* first = nullptr;
        GtkTreePath* last = nullptr;
        if (gtk_tree_view_get_visible_range(list, &first, &last) == FALSE)
            return false;
        const int from = gtk_tree_path_get_indices(first)[0];
        const int to = gtk_tree_path_get_indices(last)[0];
        gtk_tree_path_free(first);
        gtk_tree_path_free(last);
        const std::vector<std::string> names = row_names(local());
        const auto row = std::find(names.begin(), names.end(), "file150") - names.begin();
        return from <= row && row <= to;
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
    gtk_entry_set_text(GTK_ENTRY(local().path_entry), sandbox_.path("folder/../folder").c_str());
    GdkEventKey letter = key_event(GDK_KEY_a);
    EXPECT_FALSE(on_textbox_1_key_press_event(local().path_entry, &letter, nullptr));
    EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.path());
    GdkEventKey enter = key_event(GDK_KEY_Return);
    EXPECT_FALSE(on_textbox_1_key_press_event(local().path_entry, &enter, nullptr));
    EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.path("folder"));
}

TEST_F(MainWindow, TellsOfAFolderThatIsNotThereAndStays) {
    gtk_entry_set_text(GTK_ENTRY(local().path_entry), "/does/not/exist");
    const gui_test::When box([] { return message_box() != nullptr; },
                             [] {
                                 EXPECT_THAT(gui_test::label_texts(message_box()),
                                             HasSubstr("IDS_ERROR_PATH"));
                                 gtk_dialog_response(GTK_DIALOG(message_box()), GTK_RESPONSE_OK);
                             });
    gtk_button_clicked(GTK_BUTTON(local().go_button));
    EXPECT_TRUE(box.done());
    EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.path());
    EXPECT_THAT(row_names(local()), Contains("one"));
}

TEST_F(MainWindow, StartsNothingWhileAnotherActionRuns) {
    const relay_hub::WindowWork running;
    gtk_entry_set_text(GTK_ENTRY(local().path_entry), sandbox_.path("folder").c_str());
    gtk_button_clicked(GTK_BUTTON(local().go_button));
    gui_test::press_key(local().tree_view, GDK_KEY_BackSpace);
    mouse(local(), GDK_2BUTTON_PRESS, 1, 1);
    mouse(local(), GDK_BUTTON_RELEASE, 1, 1);
    EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.path());
}

TEST_F(MainWindow, OpensTheChosenDrive) {
    EXPECT_THAT(printed([] { gtk_combo_box_set_active(GTK_COMBO_BOX(local().drive_combo), -1); }), IsEmpty());
    GtkTreeModel* drives = gtk_combo_box_get_model(GTK_COMBO_BOX(local().drive_combo));
    gtk_combo_box_set_active(GTK_COMBO_BOX(local().drive_combo),
                             gtk_tree_model_iter_n_children(drives, nullptr) - 1);
    EXPECT_STREQ(relay_hub::current_folder(&local()), "/");
    EXPECT_EQ(entry_text(local()), "/");
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
    select_rows(remote(), {0});
    select_rows(local(), {2});
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

TEST(WindowIcon, IsTakenFromARegularFileOnly) {
    const gui_test::Sandbox sandbox;
    const relay_hub::GObjectPtr<GdkPixbuf> picture(gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, 16, 16));
    gdk_pixbuf_fill(picture.get(), 0x336699ff);
    const std::string good = sandbox.path("good.ico");
    ASSERT_TRUE(gdk_pixbuf_save(picture.get(), good.c_str(), "ico", nullptr, nullptr));
    ASSERT_EQ(mkfifo(sandbox.path("fifo").c_str(), 0600), 0);
    ASSERT_EQ(symlink(good.c_str(), sandbox.path("link").c_str()), 0);
    sandbox.make_file("text", "not a picture");
    sandbox.make_file("empty");
    EXPECT_NE(relay_hub::load_window_icon(good.c_str()), nullptr);
    for (const char* bad : {"fifo", "link", "text", "empty", "missing", "."})
        EXPECT_EQ(relay_hub::load_window_icon(sandbox.path(bad).c_str()), nullptr) << bad;
}

}  // namespace
