#include "gui/pane_fixture.h"
#include "side_function/clipboard.h"
#include "side_function/left_side.h"
#include "tree_view_op/file_list_view.h"
#include "window/closing.h"

namespace {

using LocalPane = gui_test::Panes;

void give_text(GtkClipboard*, GtkSelectionData* selection, guint, gpointer text) {
    gtk_selection_data_set(selection, gtk_selection_data_get_target(selection), 8,
                           static_cast<const guchar*>(text),
                           static_cast<int>(strlen(static_cast<char*>(text))));
}

TEST_F(LocalPane, FilesThatAnotherProgramCopiesLaterReplaceOurCopy) {
    const test::Sandbox folder;
    relay_hub::set_current_folder(get_UI_sets()->left_side, folder.at().c_str());
    folder.make_file("ours");
    ASSERT_EQ(left_treeview_load_file(nullptr, folder.at()), 0);
    local_.select({1});
    ASSERT_EQ(left_popup_menu_copy(nullptr, local_.view()), 0);
    EXPECT_EQ(g_copy_source, kCopiedLocally);
    const test::Sandbox source;
    std::string uris = "file://" + source.make_file("theirs", "content") + "\r\n";
    // Another program: a second connection to the X server.
    GdkDisplay* display = gdk_display_open(nullptr);
    char target[] = "text/uri-list";
    const GtkTargetEntry entry{target, 0, 0};
    GtkClipboard* clipboard = gtk_clipboard_get_for_display(display, GDK_SELECTION_CLIPBOARD);
    gtk_clipboard_set_with_data(clipboard, &entry, 1, give_text, nullptr, uris.data());
    gdk_display_sync(display);
    EXPECT_TRUE(gui_test::run_until([] { return g_copy_source == kNothingCopied; }));
    EXPECT_EQ(left_popup_menu_paste(nullptr, nullptr), 0);
    EXPECT_EQ(test::content(folder.at("theirs")), "content");
    EXPECT_EQ(names(local_), ".. ours theirs");
    EXPECT_TRUE(relay_hub::clipboard_offers_files()) << "the other program's offer is not ours to end";
    {
        const relay_hub::WindowWork work;
        EXPECT_FALSE(relay_hub::clipboard_offers_files())
            << "a wait inside another loses memory of the toolkit's";
    }
    gtk_clipboard_clear(clipboard);
}

}  // namespace
