#include <array>

#include "gui/gui_fixture.h"
#include "tree_view_op/list_place.h"
#include "tree_view_op/list_update.h"
#include "tree_view_op/listing_turns.h"

namespace {

using namespace gui_test;
using testing::ElementsAre;
using testing::HasSubstr;
using Texts = std::vector<std::string>;

struct CountingWatcher : relay_hub::ListingWatcher {
    CountingWatcher() { relay_hub::set_listing_watcher(this); }
    ~CountingWatcher() override { relay_hub::set_listing_watcher(nullptr); }
    void long_listing_begins() override { ++depth; }
    void long_listing_ends() override { --depth; }
    bool go_on() override { return turns++ < 2; }
    int depth = 0;
    int turns = 0;
};

class LocalListing : public testing::Test {
  protected:
    LocalListing() {
        sandbox_.make_file("file10", std::string(2048, 'x'));
        sandbox_.make_file("file9");
        sandbox_.make_file(".hidden");
        sandbox_.make_folder("sub");
        sandbox_.make_link("link", "sub");
        sandbox_.make_link("dangling", "nowhere");
    }
    void open() { once_search_and_insert_to_treeview(sandbox_.at(), list_.view()); }
    void click_header() {
        gtk_tree_view_column_clicked(gtk_tree_view_get_column(GTK_TREE_VIEW(list_.view()), 0));
    }

    Sandbox sandbox_;
    PaneList list_;
};

TEST_F(LocalListing, KeepsNaturalOrderWithinEachGroupOfTheSort) {
    open();
    EXPECT_THAT(list_.texts(kColumnName), ElementsAre("..", "dangling", "file9", "file10", "link", "sub"));
    click_header();
    const auto folders_first = ElementsAre("..", "link", "sub", "dangling", "file9", "file10");
    EXPECT_THAT(list_.texts(kColumnName), folders_first);
    open();
    EXPECT_THAT(list_.texts(kColumnName), folders_first);
    click_header();
    const auto files_first = ElementsAre("dangling", "file9", "file10", "..", "link", "sub");
    EXPECT_THAT(list_.texts(kColumnName), files_first);
    open();
    EXPECT_THAT(list_.texts(kColumnName), files_first);
}

TEST_F(LocalListing, FillsEveryColumnOfARow) {
    const timespec times[] = {{86400L * 365, 0}, {86400L * 730, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, sandbox_.at("file10").c_str(), times, 0), 0);
    open();
    EXPECT_THAT(list_.row(3),
                ElementsAre("gtk-file", "file10", "2.0 KB", "IDS_FH_FILE", HasSubstr("1972-01-01"),
                            HasSubstr("1971-01-01"), "", kKindFile, "", "", ""));
    const Texts link = list_.row(4);
    EXPECT_EQ(link[kColumnIcon] + link[kColumnType] + link[kColumnKind], "gtk-directoryIDS_FH_FOLDER1");
    EXPECT_EQ(list_.row(0), (Texts{"gtk-directory", "..", "", "", "", "", "", kKindParent, "", "", ""}));
}

TEST_F(LocalListing, NamesThatAreNotUtf8KeepTheirBytes) {
    const Texts names = {"a\xff", "a\xfe"};
    for (const std::string& name : names) {
        sandbox_.make_file(name);
        fill_list_colmum(name.c_str(), sandbox_.at().c_str(), list_.view());
    }
    const Texts shown = list_.texts(kColumnName);
    EXPECT_THAT(shown, ElementsAre("a\uFFFD", "a\uFFFD"));
    list_.select({0, 1});
    EXPECT_THAT(get_selected_to_glist(list_.view()), testing::UnorderedElementsAreArray(names));
    EXPECT_TRUE(relay_hub::select_row_by_name(list_.view(), names[0]));
    EXPECT_THAT(get_selected_to_glist(list_.view()), ElementsAre(names[0]));
}

TEST_F(LocalListing, ACellIsOneBoundedLineAndTheNameTakesFurtherRoom) {
    const Texts names = {std::string(20000, '\n'), std::string(9 << 20, 'n'), "evil\u202Egpj\u202C.exe"};
    const int columns[] = {kColumnName, kColumnSize, -1};
    for (const std::string& name : names) {
        const char* const texts[] = {name.c_str(), name.c_str()};
        append_data(list_.view(), columns, texts);
    }
    for (const int column : {kColumnName, kColumnSize})
        for (const std::string& shown : list_.texts(column)) {
            EXPECT_LE(shown.size(), 500 * 6 + 3);
            EXPECT_EQ(shown.find("\u202C") & shown.find('\n'), std::string::npos);
        }
    list_.select({0, 1, 2});
    EXPECT_THAT(get_selected_to_glist(list_.view()), testing::UnorderedElementsAreArray(names));
    run_pending();
    GdkRectangle cell;
    const relay_hub::TreePathPtr first(gtk_tree_path_new_first());
    GtkTreeViewColumn* name_column = gtk_tree_view_get_column(GTK_TREE_VIEW(list_.view()), 0);
    gtk_tree_view_get_background_area(GTK_TREE_VIEW(list_.view()), first.get(), name_column, &cell);
    EXPECT_LT(cell.height, 50);
    EXPECT_TRUE(gtk_tree_view_column_get_expand(name_column));
    GtkWidget* title = gtk_tree_view_column_get_widget(name_column);
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(title)), "IDS_STR_LISTVIEW_NAME");
}

TEST_F(LocalListing, TheParentRowStaysSelectedWhenTheListIsFilledAnew) {
    insert_root_row(list_.view());
    list_.select({0});
    const relay_hub::TreePathPtr first(gtk_tree_path_new_first());
    gtk_tree_view_set_cursor(GTK_TREE_VIEW(list_.view()), first.get(), nullptr, FALSE);
    const relay_hub::ListPlace place(list_.view());
    clean_tree_view(list_.view());
    insert_root_row(list_.view());
    place.restore();
    // Without it the next key of a direction would only select the row where it stands.
    EXPECT_TRUE(gtk_tree_selection_path_is_selected(gtk_tree_view_get_selection(GTK_TREE_VIEW(list_.view())),
                                                    first.get()));
}

TEST_F(LocalListing, AnUpdateMakesTheRowsOfAFreshListingAndKeepsTheSelection) {
    const auto all_texts = [this] {
        std::vector<Texts> texts(kColumnCount);
        for (std::size_t column = 0; column < texts.size(); ++column)
            texts[column] = list_.texts(static_cast<int>(column));
        return texts;
    };
    using relay_hub::ListUpdate;
    for (const std::string& round : Texts{"unsorted", "folders first", "files first"}) {
        SCOPED_TRACE(round);
        open();
        EXPECT_TRUE(relay_hub::select_row_by_name(list_.view(), "file9"));
        sandbox_.make_file("file9", round);
        sandbox_.make_file("a\xff " + round);
        sandbox_.make_file("zz " + round);
        sandbox_.make_folder("between " + round);
        std::filesystem::remove(sandbox_.at(round == "unsorted" ? "file10" : "dangling"));
        if (round == "folders first") {
            std::filesystem::remove(sandbox_.at("sub"));
            sandbox_.make_file("sub");
        }
        const auto now = relay_hub::ListNow::read(relay_hub::list_view_of(list_.view(), sandbox_.at()));
        ListUpdate update(list_.view(), now);
        while (update.go_on() == ListUpdate::Result::kMore) {
        }
        EXPECT_THAT(get_selected_to_glist(list_.view()), ElementsAre("file9"));
        const auto updated = all_texts();
        ListUpdate stale(list_.view(), now);
        open();
        EXPECT_EQ(stale.go_on(), ListUpdate::Result::kOutdated);
        EXPECT_EQ(updated, all_texts());
        click_header();
    }
}

TEST_F(LocalListing, ALongListingTurnsTheMainLoopAndStopsWhenTold) {
    constexpr int kFarTooMany = 5000000;
    constexpr std::array<const char*, kColumnCount> kRow = {"gtk-file", "name"};
    const CountingWatcher watcher;
    click_header();
    int rows = 0;
    bool served = false;
    const auto note = [](gpointer seen) -> gboolean { return *static_cast<bool*>(seen) = true; };
    const guint source = gdk_threads_add_idle(note, &served);
    {
        relay_hub::RowFiller filler(list_.view());
        while (rows < kFarTooMany && filler.add(kRow.data()))
            ++rows;
        EXPECT_FALSE(filler.add(kRow.data()));
        EXPECT_EQ(watcher.depth, 1);
    }
    EXPECT_TRUE(g_source_remove(source));
    EXPECT_TRUE(served);
    EXPECT_LT(rows, kFarTooMany);
    EXPECT_EQ(watcher.depth, 0);
    EXPECT_EQ(watcher.turns, 3);
    int column = -1;
    EXPECT_TRUE(gtk_tree_sortable_get_sort_column_id(GTK_TREE_SORTABLE(list_.store()), &column, nullptr));
    EXPECT_EQ(column, kColumnIcon) << "sorted again once it stands";
}

TEST_F(LocalListing, SelectionGivesNamesInReverseWithoutTheParentRow) {
    open();
    EXPECT_THAT(get_selected_to_glist(list_.view()), testing::IsEmpty());
    list_.select({0});
    EXPECT_THAT(get_selected_to_glist(list_.view()), testing::IsEmpty());
    list_.select({0, 2, 3});
    EXPECT_THAT(get_selected_to_glist(list_.view()), ElementsAre("file10", "file9"));
    EXPECT_FALSE(relay_hub::select_row_by_name(list_.view(), "none"));
    for (const auto& [position, name] :
         {std::pair(0, "dangling"), {2, "file9"}, {99, "sub"}, {-1, "dangling"}}) {
        relay_hub::select_row_near(list_.view(), position);
        EXPECT_THAT(get_selected_to_glist(list_.view()), ElementsAre(name));
    }
}

}  // namespace
