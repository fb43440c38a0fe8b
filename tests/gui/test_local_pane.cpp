#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "gui/pane_fixture.h"
#include "side_function/copy_source.h"
#include "side_function/left_side.h"
#include "side_function/rename_entry.h"
#include "tree_view_op/file_list_view.h"

namespace {

using gui_test::NameGiven;

class LocalPane : public gui_test::Panes {
  protected:
    LocalPane() { relay_hub::set_current_folder(get_UI_sets()->left_side, folder_.at().c_str()); }

    void show() { ASSERT_EQ(left_treeview_load_file(nullptr, folder_.at()), 0); }
    void select(const std::string& name) { ASSERT_TRUE(relay_hub::select_row_by_name(local_.view(), name)); }

    test::Sandbox folder_;
};

TEST_F(LocalPane, ARenamedEntryStaysSelected) {
    folder_.make_file("a", "content");
    folder_.make_file("b\xFF", "bytes");
    show();
    for (const auto& [old_name, new_name] : {std::pair("a", "c"), std::pair("b\xFF", "d")}) {
        select(old_name);
        const NameGiven dialog("IDS_MN_RENAME", new_name);
        left_popup_menu_rename(nullptr, nullptr);
        EXPECT_EQ(selected(local_), new_name);
    }
    EXPECT_EQ(test::content(folder_.at("c")), "content");
    EXPECT_EQ(test::content(folder_.at("d")), "bytes");
}

TEST(RenameEntry, NeverReplacesAnotherEntry) {
    const test::Sandbox folder;
    const std::string a = folder.make_file("a", "a");
    const std::string b = folder.make_file("b", "b");
    EXPECT_EQ(relay_hub::rename_without_replacing(a, b), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(test::content(a) + test::content(b), "ab");
    const std::string link = folder.at("link");
    ASSERT_EQ(::link(a.c_str(), link.c_str()), 0);
    EXPECT_EQ(relay_hub::rename_without_replacing(a, link), -1);
    EXPECT_EQ(relay_hub::rename_without_replacing(a, a), 0);
    EXPECT_EQ(relay_hub::rename_without_replacing(a, folder.at("c")), 0);
    EXPECT_EQ(relay_hub::rename_without_replacing(a, folder.at("d")), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(LocalPane, DeletedEntriesGoAndTheNextRowIsSelected) {
    for (const char* name : {"a", "b", "c"})
        folder_.make_file(name);
    show();
    select("b");
    EXPECT_EQ(left_popup_menu_delete(nullptr, nullptr), 0);
    EXPECT_EQ(names(local_), ".. a c");
    EXPECT_EQ(selected(local_), "c");
    local_.select({0});
    EXPECT_EQ(left_popup_menu_delete(nullptr, nullptr), -1) << "the parent row alone is nothing to delete";
    EXPECT_EQ(names(local_), ".. a c");
}

TEST_F(LocalPane, DropsThatCannotBeTakenDoNothing) {
    const test::Sandbox source;
    const std::string uri = "file://" + source.make_file("x") + "\r\n";
    gui_test::Drop move(uri, GDK_ACTION_MOVE);
    EXPECT_EQ(left_drag_data_received(local_.view(), move.context(), 0, 0, move.selection(), 1, 0, nullptr),
              -1);
    relay_hub::set_current_folder(get_UI_sets()->left_side, folder_.at("gone").c_str());
    gui_test::Drop nowhere(uri);
    EXPECT_EQ(
        left_drag_data_received(local_.view(), nowhere.context(), 0, 0, nowhere.selection(), 1, 0, nullptr),
        -1);
    EXPECT_TRUE(std::filesystem::is_empty(folder_.at()));
}

TEST_F(LocalPane, RefreshingKeepsTheSelectedRow) {
    folder_.make_file("b");
    show();
    select("b");
    folder_.make_file("a");
    left_popup_menu_refresh(nullptr, nullptr);
    EXPECT_EQ(names(local_), ".. a b");
    EXPECT_EQ(selected(local_), "b");
}

}  // namespace
