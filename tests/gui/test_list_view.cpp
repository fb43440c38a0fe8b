#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <random>

#include "gui/gui_fixture.h"
#include "tree_view_op/file_list_view.h"

namespace {

using gui_test::PaneList;
using test::Sandbox;
using testing::ElementsAre;
using testing::HasSubstr;
using Texts = std::vector<std::string>;

struct CountingWatcher : relay_hub::ListingWatcher {
    void long_listing_begins() override {
        ++depth;
        ++begun;
    }
    void long_listing_ends() override { --depth; }
    bool go_on() override { return turns++ < allowed_turns; }
    int depth = 0;
    int begun = 0;
    int turns = 0;
    int allowed_turns = 1000000;
};

class WatchedListing : public testing::Test {
  protected:
    WatchedListing() { relay_hub::set_listing_watcher(&watcher_); }
    ~WatchedListing() override { relay_hub::set_listing_watcher(nullptr); }
    static gboolean note_turn(gpointer served) {
        *static_cast<bool*>(served) = true;
        return G_SOURCE_CONTINUE;
    }
    CountingWatcher watcher_;
    Sandbox sandbox_;
    PaneList list_;
};

class LocalListing : public WatchedListing {
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
    EXPECT_EQ(watcher_.begun, 0);
}

TEST_F(LocalListing, FillsEveryColumnOfARow) {
    const timespec times[] = {{86400L * 365, 0}, {86400L * 730, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, sandbox_.at("file10").c_str(), times, 0), 0);
    open();
    const Texts names = list_.texts(kColumnName);
    const auto row = [&](const char* name) {
        const auto at = static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
        Texts texts;
        for (int column = 0; column < kColumnCount; ++column)
            texts.push_back(list_.texts(column).at(at));
        return texts;
    };
    EXPECT_THAT(row("file10"),
                ElementsAre("gtk-file", "file10", "2.0 KB", "IDS_FH_FILE", HasSubstr("1972-01-01"),
                            HasSubstr("1971-01-01"), "", kKindFile, "", "", ""));
    const Texts link = row("link");
    EXPECT_EQ(link[kColumnIcon] + link[kColumnType] + link[kColumnKind], "gtk-directoryIDS_FH_FOLDER1");
    EXPECT_EQ(row(".."), (Texts{"gtk-directory", "..", "", "", "", "", "", kKindParent, "", "", ""}));
}

TEST_F(LocalListing, AnEntryThatIsGoneLeavesAnEmptyRow) {
    fill_list_colmum("gone", sandbox_.at().c_str(), list_.view());
    fill_list_colmum("file9", sandbox_.at().c_str(), list_.view());
    EXPECT_THAT(list_.texts(kColumnName), ElementsAre("", "file9"));
    EXPECT_THAT(list_.texts(kColumnKind), ElementsAre("", kKindFile));
}

TEST_F(WatchedListing, NamesThatAreNotUtf8KeepTheirBytes) {
    const Texts names = {"a\xff", "a\xfe"};
    for (const std::string& name : names)
        sandbox_.make_file(name);
    once_search_and_insert_to_treeview(sandbox_.at(), list_.view());
    const Texts shown = list_.texts(kColumnName);
    ASSERT_EQ(shown.size(), 3U);
    EXPECT_TRUE(g_utf8_validate(shown[1].c_str(), -1, nullptr));
    EXPECT_EQ(shown[1], shown[2]);
    list_.select({1, 2});
    EXPECT_THAT(get_selected_to_glist(list_.view()), testing::UnorderedElementsAreArray(names));
    EXPECT_TRUE(relay_hub::select_row_by_name(list_.view(), names[0]));
    EXPECT_THAT(get_selected_to_glist(list_.view()), ElementsAre(names[0]));

    clean_tree_view(list_.view());
    sandbox_.make_file(shown[1]);
    fill_list_colmum(shown[1].c_str(), sandbox_.at().c_str(), list_.view());
    list_.select({0});
    EXPECT_THAT(get_selected_to_glist(list_.view()), ElementsAre(shown[1]));
}

TEST_F(WatchedListing, ALongListingTurnsTheMainLoopAndStopsWhenTold) {
    constexpr int kFarTooMany = 5000000;
    constexpr std::array<const char*, kColumnCount> kRow = {"gtk-file", "name"};
    gtk_tree_sortable_set_sort_column_id(GTK_TREE_SORTABLE(list_.store()), kColumnIcon, GTK_SORT_ASCENDING);
    watcher_.allowed_turns = 2;
    int rows = 0;
    bool served = false;
    const guint source = gdk_threads_add_idle(note_turn, &served);
    {
        relay_hub::RowFiller filler(list_.view());
        while (rows < kFarTooMany && filler.add(kRow.data()))
            ++rows;
        EXPECT_FALSE(filler.add(kRow.data()));
        EXPECT_EQ(watcher_.depth, 1);
    }
    EXPECT_TRUE(g_source_remove(source));
    EXPECT_TRUE(served);
    EXPECT_LT(rows, kFarTooMany);
    EXPECT_EQ(watcher_.begun, 1);
    EXPECT_EQ(watcher_.depth, 0);
    EXPECT_EQ(watcher_.turns, 3);
    EXPECT_EQ(gtk_tree_view_get_model(GTK_TREE_VIEW(list_.view())), GTK_TREE_MODEL(list_.store()));
    int column = -1;
    GtkSortType order = GTK_SORT_DESCENDING;
    gtk_tree_sortable_get_sort_column_id(GTK_TREE_SORTABLE(list_.store()), &column, &order);
    EXPECT_EQ(column, kColumnIcon);
    EXPECT_EQ(order, GTK_SORT_ASCENDING);
}

// What the filler puts to its place must stand where the toolkit's own sort would have put it.
TEST(RowFilling, StandsAsTheToolkitsOwnSortWouldPutIt) {
    constexpr const char* kIcons[] = {"gtk-file", "gtk-directory", "gtk-harddisk", ""};
    for (const int sort : {-2, static_cast<int>(GTK_SORT_ASCENDING), static_cast<int>(GTK_SORT_DESCENDING)}) {
        SCOPED_TRACE(sort);
        const PaneList filled;
        const PaneList plain;
        for (const PaneList* list : {&filled, &plain}) {
            insert_root_row(list->view());
            if (sort >= 0)
                gtk_tree_sortable_set_sort_column_id(GTK_TREE_SORTABLE(list->store()), kColumnIcon,
                                                     static_cast<GtkSortType>(sort));
        }
        std::mt19937 random(7);
        relay_hub::RowFiller filler(filled.view());
        for (int i = 0; i < 200; ++i) {
            const std::string name = std::to_string(i);
            std::array<const char*, kColumnCount> texts{kIcons[random() % 4], name.c_str()};
            ASSERT_TRUE(filler.add(texts.data()));
            const int columns[] = {kColumnIcon, kColumnName, -1};
            append_data(plain.view(), columns, texts.data());
        }
        EXPECT_EQ(filled.texts(kColumnName), plain.texts(kColumnName));
    }
}

TEST(RowFilling, AHeaderClickedMeanwhileStillSorts) {
    const PaneList list;
    gtk_tree_sortable_set_sort_column_id(GTK_TREE_SORTABLE(list.store()), kColumnIcon, GTK_SORT_ASCENDING);
    {
        relay_hub::RowFiller filler(list.view());
        for (const char* icon : {"gtk-file", "gtk-directory"}) {
            std::array<const char*, kColumnCount> texts{icon, icon};
            filler.add(texts.data());
        }
        gtk_tree_sortable_set_sort_column_id(GTK_TREE_SORTABLE(list.store()), kColumnIcon,
                                             GTK_SORT_DESCENDING);
    }
    EXPECT_THAT(list.texts(kColumnName), ElementsAre("gtk-file", "gtk-directory"));
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
