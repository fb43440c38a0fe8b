// The file operations that both programs share.
#include <sys/file.h>
#include <sys/resource.h>

#include <deque>

#include "base/log.h"
#include "base/remove_tree.h"
#include "base/rename_without_replacing.h"
#include "base/temporary_file.h"
#include "sandbox.h"

namespace {

using namespace test;
using namespace relay_hub;

class Files : public testing::Test, public test::Sandbox {
  protected:
    int rename_here(const std::string& from, const std::string& to) {
        return rename_without_replacing(folder_.get(), from, folder_.get(), to);
    }
    const FileDescriptor folder_{open(at("").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

TEST_F(Files, a_rename_never_takes_the_place_of_another_entry) {
    make_file("a", "a");
    make_file("b", "b");
    make_folder("empty");
    make_link("dangling", "nowhere");
    ASSERT_EQ(link(at("a").c_str(), at("same").c_str()), 0);
    for (const char* taken : {"b", "empty", "dangling", "same", "a"})
        EXPECT_EQ(rename_here("a", taken), EEXIST) << taken;
    EXPECT_EQ(content(at("a")) + content(at("b")), "ab");
    EXPECT_EQ(rename_here("a", "c"), 0);
    EXPECT_EQ(rename_here("a", "d"), ENOENT);
    EXPECT_EQ(rename_here("empty", "empty/in"), EINVAL);
    EXPECT_EQ(names_in(at("")), (Names{"b", "c", "dangling", "empty", "same"}));
}

TEST_F(Files, a_sweep_takes_dead_parts_and_links_only) {
    const std::string dead = ".relay-hub-abcdEFGH.part";
    const std::string locked = ".relay-hub-0123456789abcdef.part";
    make_file(dead, "x", 0200);
    make_file(locked, "x");
    make_link(".relay-hub-abcdEFG1.part", "anything");
    make_file(".relay-hub-notes.part", "x");
    make_folder(".relay-hub-abcdEFG2.part");
    const FileDescriptor lock(open(at(locked).c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(lock.get(), LOCK_EX), 0);
    const TemporaryFile living = TemporaryFile::create(folder_.get());
    ASSERT_TRUE(living.valid());
    sweep_temporary_files(folder_.get());
    EXPECT_EQ(names_in(at("")).size(), 4U);
    EXPECT_FALSE(exists(at(dead)));
}

TEST_F(Files, a_temporary_file_takes_its_name_or_leaves_nothing) {
    for (const bool nameless : {false, true}) {
        const auto make = nameless ? TemporaryFile::create_nameless : TemporaryFile::create;
        make_file("taken", "old");
        {
            TemporaryFile part = make(folder_.get());
            ASSERT_EQ(write_all(part.fd(), "new", 3), 0);
            EXPECT_EQ(part.take_free_name("taken"), EEXIST);
            EXPECT_EQ(part.take_free_name("free"), 0);
        }
        { const TemporaryFile given_up = make(folder_.get()); }
        EXPECT_EQ(names_in(at("")), (Names{"free", "taken"}));
        EXPECT_EQ(content(at("free")) + content(at("taken")), "newold");
        unlink(at("free").c_str());
    }
    EXPECT_EQ(place_link(folder_.get(), "taken", "x", false, nullptr), EEXIST);
    EXPECT_EQ(place_link(folder_.get(), "taken", "x", true, nullptr), 0);
    EXPECT_EQ(names_in(at("")), Names{"taken"});
}

TEST_F(Files, a_tree_is_removed_whatever_its_depth_and_nothing_outside_it) {
    constexpr int kLevels = 20000;
    make_file("outside/kept", "kept");
    make_folder("tree");
    FileDescriptor level(openat(folder_.get(), "tree", O_PATH | O_CLOEXEC));
    for (int depth = 0; depth < kLevels; ++depth) {
        ASSERT_EQ(mkdirat(level.get(), "folder", 0755), 0);
        level.reset(openat(level.get(), "folder", O_PATH | O_CLOEXEC));
    }
    ASSERT_EQ(symlinkat(at("outside").c_str(), level.get(), "link"), 0);
    // Held open, the innermost folder would make the kernel walk the whole chain at each removal.
    level.reset();
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{128, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    std::string failed;
    EXPECT_EQ(remove_tree(folder_.get(), "tree", FolderRights::keep, &failed), 0) << failed.size();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(names_in(at("")), Names{"outside"});
    EXPECT_EQ(content(at("outside/kept")), "kept");
    EXPECT_EQ(remove_tree(folder_.get(), "none", FolderRights::keep, &failed), ENOENT);
    EXPECT_EQ(failed, "none");
}

TEST_F(Files, a_closed_folder_is_named_or_opened_up) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs another user";
    make_file("tree/closed/file", "x");
    ASSERT_EQ(chmod(at("").c_str(), 0777), 0);
    for (const char* path : {"tree", "tree/closed"})
        ASSERT_EQ(chown(at(path).c_str(), 65534, 65534), 0);
    ASSERT_EQ(chmod(at("tree/closed").c_str(), 0), 0);
    ASSERT_EQ(seteuid(65534), 0);
    std::string failed;
    const int kept = remove_tree(folder_.get(), "tree", FolderRights::keep, &failed);
    const int widened = remove_tree(folder_.get(), "tree", FolderRights::widen, nullptr);
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(kept, EACCES);
    EXPECT_EQ(failed, "tree/closed");
    EXPECT_EQ(widened, 0);
    EXPECT_FALSE(exists(at("tree")));
}

TEST_F(Files, the_event_log_gets_whole_stamped_lines_from_all_threads) {
    const std::string path = at("log");
    {
        std::deque<std::jthread> writers;
        for (int i = 0; i < 4; ++i)
            writers.emplace_back([&] {
                for (int line = 0; line < 25; ++line)
                    write_log(path.c_str(), "a %s %n line");
            });
    }
    std::ifstream file(path);
    int lines = 0;
    for (std::string line; std::getline(file, line); ++lines)
        EXPECT_THAT(line, testing::MatchesRegex("[0-2][0-9]:[0-5][0-9]:[0-6][0-9] a %s %n line"));
    EXPECT_EQ(lines, 100);
}

}  // namespace
