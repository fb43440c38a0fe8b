#include <sys/wait.h>

#include "gui/pane_fixture.h"
#include "side_function/copy_source.h"
#include "side_function/left_side.h"
#include "tree_view_op/file_list_view.h"
#include "util/glib_owners.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Another program at the same clipboard. Its output goes to a file; the main loop turns until it has ended.
std::string run_xclip(const std::string& arguments) {
    const test::Sandbox folder;
    const std::string command =
        "sh -c 'xclip -selection clipboard " + arguments + " > " + folder.at("out") + "'";
    int count = 0;
    char** words = nullptr;
    g_shell_parse_argv(command.c_str(), &count, &words, nullptr);
    const relay_hub::GStrv owner(words);
    GPid process = 0;
    const auto flags = static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD |
                                                G_SPAWN_STDERR_TO_DEV_NULL);
    if (!g_spawn_async(nullptr, words, nullptr, flags, nullptr, nullptr, &process, nullptr))
        return "xclip is missing";
    EXPECT_TRUE(gui_test::run_until([process] { return ::waitpid(process, nullptr, WNOHANG) == process; }));
    return test::content(folder.at("out"));
}

// Another program that offers one kind of data: a second connection to the X server.
class OtherProgram {
  public:
    OtherProgram(const char* target, std::string text) : text_(std::move(text)) {
        static GdkDisplay* const display = gdk_display_open(nullptr);
        clipboard_ = gtk_clipboard_get_for_display(display, GDK_SELECTION_CLIPBOARD);
        std::string name = target;
        const GtkTargetEntry entry{name.data(), 0, 0};
        gtk_clipboard_set_with_data(clipboard_, &entry, 1, give, nullptr, this);
        gdk_display_sync(display);
    }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;
    ~OtherProgram() { gtk_clipboard_clear(clipboard_); }

  private:
    static void give(GtkClipboard*, GtkSelectionData* selection, guint, gpointer self) {
        const std::string& text = static_cast<OtherProgram*>(self)->text_;
        gtk_selection_data_set(selection, gtk_selection_data_get_target(selection), 8,
                               reinterpret_cast<const guchar*>(text.data()), static_cast<int>(text.size()));
    }
    std::string text_;
    GtkClipboard* clipboard_;
};

class Clipboard : public gui_test::Panes {
  protected:
    Clipboard() { relay_hub::set_current_folder(get_UI_sets()->left_side, folder_.at().c_str()); }
    ~Clipboard() override { release_clipboard(nullptr); }

    void copy_all() {
        left_treeview_load_file(nullptr, folder_.at());
        gtk_tree_selection_select_all(gtk_tree_view_get_selection(GTK_TREE_VIEW(local_.view())));
        ASSERT_EQ(left_popup_menu_copy(nullptr, local_.view()), 0);
    }
    test::Sandbox folder_;
};

TEST_F(Clipboard, OtherProgramsReadOurCopyInEveryForm) {
    const std::string plain = folder_.make_file("a b");
    const std::string odd = folder_.make_file("c\xFF");
    copy_all();
    EXPECT_EQ(g_copy_source, kCopiedLocally);
    const std::string uri_1 = "file://" + folder_.at() + "/a%20b";
    const std::string uri_2 = "file://" + folder_.at() + "/c%FF";
    const std::string zero(1, '\0');
    EXPECT_EQ(run_xclip("-o -t x-special/gnome-copied-files"), "copy\n" + uri_1 + "\n" + uri_2 + "\n" + zero);
    EXPECT_EQ(run_xclip("-o -t text/uri-list"), uri_1 + "\r\n" + uri_2 + "\r\n" + zero);
    EXPECT_EQ(run_xclip("-o -t UTF8_STRING"), plain + "\n" + folder_.at("c\uFFFD") + "\n" + zero);
    std::vector<std::string> read{"first"};
    EXPECT_EQ(get_from_clipboard(read), 0);
    EXPECT_THAT(read, ElementsAre(odd, plain, "first"));
}

TEST_F(Clipboard, FilesOfOtherProgramsAreRead) {
    const struct {
        const char* target;
        const char* text;
        int result;
        std::vector<std::string> paths;
    } cases[] = {
        {"x-special/gnome-copied-files", "copy\nfile:///a%20b\nfile:///c", 0, {"/c", "/a b"}},
        {"x-special/gnome-copied-files", "cut\nfile:///a\n", 0, {"/a"}},
        {"text/uri-list", "# comment\r\nfile:///a\r\nhttp://x/y\r\n", 0, {"/a"}},
        {"x-special/gnome-copied-files", "", -1, {}},
        {"UTF8_STRING", "file:///a", -1, {}},
    };
    for (const auto& c : cases) {
        const OtherProgram program(c.target, c.text);
        std::vector<std::string> read;
        EXPECT_EQ(get_from_clipboard(read), c.result) << c.text;
        EXPECT_EQ(read, c.paths) << c.text;
        EXPECT_EQ(relay_hub::clipboard_offers_files(), std::string(c.target) != "UTF8_STRING");
    }
}

TEST_F(Clipboard, OurOwnLocalCopyIsNotPastedOverItself) {
    folder_.make_file("a");
    copy_all();
    EXPECT_EQ(left_popup_menu_paste(nullptr, nullptr), -1);
    EXPECT_EQ(g_copy_source, kNothingCopied);
    EXPECT_THAT(g_pClipboardFileList, IsEmpty());
    EXPECT_EQ(g_p_tree_view, nullptr);
    EXPECT_FALSE(relay_hub::clipboard_offers_files());
}

TEST_F(Clipboard, FilesThatAnotherProgramCopiesLaterReplaceOurCopy) {
    folder_.make_file("ours");
    copy_all();
    const test::Sandbox source;
    const OtherProgram program("text/uri-list", "file://" + source.make_file("theirs", "content") + "\r\n");
    EXPECT_TRUE(gui_test::run_until([] { return g_copy_source == kNothingCopied; }));
    EXPECT_EQ(left_popup_menu_paste(nullptr, nullptr), 0);
    EXPECT_EQ(test::content(folder_.at("theirs")), "content");
    EXPECT_EQ(names(local_), ".. ours theirs");
    EXPECT_TRUE(relay_hub::clipboard_offers_files()) << "the other program's offer is not ours to end";
}

}  // namespace
