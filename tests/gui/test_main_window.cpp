#include <gdk/gdkkeysyms.h>

#include "gui/window_fixture.h"
#include "ui/event_handlers.h"
#include "ui/menus.h"
#include "ui/navigation.h"
#include "window/dialogs/search_dialog.h"

namespace {

using namespace gui_test;
using testing::ElementsAre;

class MainWindow : public MainWindowTest {
  protected:
    MainWindow() {
        sandbox_.make_folder("folder");
        sandbox_.make_file("folder/inside");
        sandbox_.make_file("one");
        sandbox_.make_file("two");
        open_local(sandbox_.at());
    }
};

TEST_F(MainWindow, OpensFoldersByDoubleClickAndNothingElse) {
    // ".." 0, "folder" 1, "one" 2, "two" 3
    const std::tuple<int, guint, guint, const char*> cases[] = {
        {2, 0, 1, ""}, {1, GDK_CONTROL_MASK, 1, ""}, {1, 0, 2, ""}, {-1, 0, 1, ""}, {1, 0, 1, "folder"}};
    for (const auto& [row, modifiers, button, leads_to] : cases) {
        mouse(local(), GDK_2BUTTON_PRESS, button, row);
        EXPECT_EQ(single_clicked, kDoubleClickPressed);
        mouse(local(), GDK_BUTTON_RELEASE, button, row, modifiers);
        EXPECT_EQ(single_clicked, kClickIdle);
        EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.at(leads_to)) << row;
    }
    EXPECT_EQ(gtk_entry_get_text(GTK_ENTRY(local().path_entry)), sandbox_.at("folder"));
    EXPECT_THAT(row_names(local()), ElementsAre("..", "inside"));
}

TEST_F(MainWindow, SelectsTheFolderThatWasLeft) {
    open_local(sandbox_.at("folder"));
    press_key(local().tree_view, GDK_KEY_BackSpace);
    EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.at());
    EXPECT_THAT(selected_names(local()), ElementsAre("folder"));
}

TEST_F(MainWindow, AClickLeavesOneOfSeveralSelectedRowsAndNoneBesideThem) {
    const std::vector<std::string> both = {"one", "two"};
    const std::tuple<const char*, int, guint, Names, Names> cases[] = {
        {"on a selected row", 2, 0, both, {"one"}},
        {"beside the rows", -1, 0, {}, {}},
        {"beside the rows with Ctrl", -1, GDK_CONTROL_MASK, both, both}};
    for (const auto& [what, row, modifiers, pressed, released] : cases) {
        ASSERT_TRUE(relay_hub::select_rows_by_name(local().tree_view, both, "one"));
        mouse(local(), GDK_BUTTON_PRESS, 1, row, modifiers);
        EXPECT_EQ(selected_names(local()), pressed) << what;
        mouse(local(), GDK_BUTTON_RELEASE, 1, row, modifiers);
        EXPECT_EQ(selected_names(local()), released) << what;
    }
    for (const auto& [row, selected, renamed] :
         {std::tuple(2, both, "one"), {3, both, "two"}, {1, both, "folder"}, {-1, {}, ""}}) {
        ASSERT_TRUE(relay_hub::select_rows_by_name(local().tree_view, both, "one"));
        mouse(local(), GDK_BUTTON_PRESS, 3, row);
        EXPECT_EQ(selected_names(local()), selected) << row;
        EXPECT_EQ(relay_hub::name_to_rename(local().tree_view), renamed);
        if (const GList* menus = gtk_menu_get_for_attach_widget(local().tree_view))
            gtk_menu_shell_cancel(GTK_MENU_SHELL(menus->data));
    }
}

TEST_F(MainWindow, OpensWhatIsTypedAndLeavesItInTheEntry) {
    const std::pair<std::string, std::string> cases[] = {
        {"folder", sandbox_.at("folder")},
        {"../folder/.", sandbox_.at("folder")},
        {"~", std::filesystem::canonical(g_get_home_dir())},
        {"file://" + sandbox_.at("folder"), sandbox_.at("folder")}};
    for (const auto& [typed, shown] : cases) {
        open_local(typed.starts_with("..") ? sandbox_.at("folder") : sandbox_.at());
        gtk_entry_set_text(GTK_ENTRY(local().path_entry), typed.c_str());
        press_key(local().path_entry, GDK_KEY_KP_Enter);
        EXPECT_EQ(relay_hub::current_folder(&local()), shown) << typed;
        EXPECT_EQ(gtk_tree_view_get_search_column(GTK_TREE_VIEW(local().tree_view)), kColumnName);
        EXPECT_EQ(gtk_entry_get_text(GTK_ENTRY(local().path_entry)), typed);
    }
}

TEST_F(MainWindow, StartsNothingWhileAnotherActionRuns) {
    ASSERT_TRUE(relay_hub::select_row_by_name(local().tree_view, "one"));
    const relay_hub::WindowWork running;
    gtk_entry_set_text(GTK_ENTRY(local().path_entry), sandbox_.at("folder").c_str());
    gtk_button_clicked(GTK_BUTTON(local().go_button));
    press_key(local().tree_view, GDK_KEY_BackSpace);
    mouse(local(), GDK_2BUTTON_PRESS, 1, 1);
    mouse(local(), GDK_BUTTON_RELEASE, 1, 1);
    EXPECT_EQ(relay_hub::current_folder(&local()), sandbox_.at());
    on_popup_menu_copy(nullptr, local().tree_view);
    on_popup_menu_delete(nullptr, local().tree_view);
    EXPECT_EQ(g_copy_source, kNothingCopied);
    EXPECT_EQ(find_window("IDS_CONFIRMATION"), nullptr);
}

// A key as the X server sends it to the main window.
void type_key(guint key) {
    GdkEvent* event = gdk_event_new(GDK_KEY_PRESS);
    event->key.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(get_UI_sets()->main_window)));
    event->key.keyval = key;
    gtk_main_do_event(event);
    gdk_event_free(event);
}

TEST_F(MainWindow, KeepsKeysPressedWhileItIsBusy) {
    GtkEntry* entry = GTK_ENTRY(local().path_entry);
    gtk_entry_set_text(entry, "");
    gtk_widget_grab_focus(local().path_entry);
    {
        const relay_hub::BusyDialog busy;
        for (const guint key : {GDK_KEY_a, GDK_KEY_Escape, GDK_KEY_b})
            type_key(key);
        run_pending();
        EXPECT_STREQ(gtk_entry_get_text(entry), "");
    }
    EXPECT_TRUE(run_until([entry] { return gtk_entry_get_text(entry) == std::string("ab"); }));
}

TEST_F(MainWindow, OffersPasteWhereSomethingCanBePasted) {
    const std::tuple<const char*, int, GtkWidget*, bool, bool> cases[] = {
        {"nothing copied", kNothingCopied, nullptr, false, false},
        {"copied in the local list", kCopiedLocally, local().tree_view, false, true},
        {"copied in the remote list", kCopiedRemotely, remote().tree_view, true, false}};
    for (const auto& [what, source, copied_in, in_local, in_remote] : cases) {
        g_copy_source = source;
        g_p_tree_view = copied_in;
        EXPECT_EQ((relay_hub::offered_items(local().tree_view) & kMenuPaste) != 0, in_local) << what;
        EXPECT_EQ((relay_hub::offered_items(remote().tree_view) & kMenuPaste) != 0, in_remote) << what;
        EXPECT_EQ(relay_hub::offered_items(local().tree_view) | kMenuPaste, 0xff) << what;
        if (in_local)
            continue;
        press_key(local().tree_view, GDK_KEY_v, GDK_CONTROL_MASK);
        EXPECT_EQ(g_copy_source, source) << "a paste would have taken it back";
    }
}

TEST(TypedRemotePath, LeadsWhereItWasMeant) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"Docs", "/home", "/home/Docs/"},
        {"/etc", "/home", "/etc/"},
        {"../x", "/home/me", "/home/x/"},
        {"D:\\Music", "C:\\", "D:\\Music\\"},
        {"Docs", "C:\\Data\\", "C:\\Data\\Docs\\"},
        {"..", "C:\\Data", "C:\\"},
        {"C:\\", "", "C:\\"},
        {"/", "/", "/"}};
    for (const auto& [typed, folder, result] : cases)
        EXPECT_EQ(relay_hub::typed_remote_path(typed, folder), result) << typed;
}

}  // namespace
