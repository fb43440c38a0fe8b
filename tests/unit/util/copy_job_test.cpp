// The copy job: what becomes of each kind of entry, under each answer.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <thread>

#include "base/file_descriptor.h"
#include "unit/util/util_sandbox.h"

namespace {

using namespace test;
using Failures = std::vector<__task_failure>;

class CopyJob : public util_test::Sandbox {
  protected:
    CopyJob() {
        make_folder("src");
        make_folder("dst");
    }
    Failures copy_src(const std::string& name) { return copy({at("src/" + name)}, at("dst")); }
};

TEST_F(CopyJob, probes_types_and_rights) {
    make_file("file", "12345", 0640);
    make_file("program", "", 0750);
    const std::string folder = make_folder("folder");
    make_link("link", "folder");
    make_link("dangling", "nowhere");
    ASSERT_EQ(mkfifo(at("fifo").c_str(), 0600), 0);
    const struct {
        std::string path;
        int result, type, executable;
    } cases[] = {{at("file"), 0, 3, 0},  {at("program"), 0, 3, 1},  {folder, 0, 4, 1},
                 {at("link"), 0, 2, 1},  {at("fifo"), -1, 0, 0},    {"/dev/null", 0, 5, 0},
                 {at("none"), -1, 0, 0}, {at("dangling"), -1, 2, 0}};
    for (const auto& each : cases) {
        __file_permission permission;
        EXPECT_EQ(Gfile_check_file_type_permission(each.path, &permission), each.result) << each.path;
        EXPECT_EQ(permission.type, each.type) << each.path;
        EXPECT_EQ(permission.executable, each.executable) << each.path;
    }
}

TEST_F(CopyJob, merges_a_folder_into_one_of_the_same_name) {
    make_folder("src/f", 0750);
    make_file("src/f/same", "new", 0600);
    make_file("src/f/only_src", "s");
    make_folder("dst/f", 0700);
    make_file("dst/f/same", "old");
    make_file("dst/f/only_dst", "d");
    // No on the folder: its children are asked for all the same.
    answers.answers = {REQUEST_NO, REQUEST_YES};
    EXPECT_TRUE(copy_src("f").empty());
    EXPECT_EQ(answers.questions.size(), 2U);
    EXPECT_EQ(mode_of(at("dst/f")), 0700U);
    EXPECT_EQ(content(at("dst/f/same")), "new");
    EXPECT_EQ(content(at("dst/f/only_src")), "s");
    EXPECT_EQ(content(at("dst/f/only_dst")), "d");
}

TEST_F(CopyJob, replaces_entries_of_any_kind_with_any) {
    const auto make = [&](char kind, const std::string& path) {
        if (kind == 'f')
            put(path, path);
        else
            ASSERT_EQ(kind == 'l' ? symlink(path.c_str(), path.c_str()) : mkdir(path.c_str(), 0755), 0);
        if (kind == 'D')
            put(path + "/child", "kept");
    };
    // 'f' file, 'l' link, 'd' empty folder, 'D' folder with a child.
    const std::pair<const char*, bool> cases[] = {{"ff", true},  {"fl", true}, {"fd", true},  {"fD", false},
                                                  {"lf", true},  {"ll", true}, {"lD", false}, {"df", false},
                                                  {"Df", false}, {"dd", true}, {"DD", true}};
    answers.answers = {REQUEST_YES};
    for (const auto& [kinds, replaced] : cases) {
        const std::string name = std::string("kinds-") + kinds;
        make(kinds[0], at("src/" + name));
        make(kinds[1], at("dst/" + name));
        const struct stat before = record(at("dst/" + name));
        EXPECT_EQ(copy_src(name).empty(), replaced) << kinds;
        const struct stat after = record(at("dst/" + name));
        EXPECT_EQ(after.st_mode & S_IFMT, record(at(replaced ? "src/" : "dst/") + name).st_mode & S_IFMT)
            << kinds;
        EXPECT_TRUE(replaced || after.st_ino == before.st_ino) << kinds;
        EXPECT_TRUE(kinds[1] != 'D' || content(at("dst/" + name + "/child")) == "kept") << kinds;
    }
    for (const std::string& name : names_in(at("dst")))
        EXPECT_TRUE(name.starts_with("kinds-")) << name;
}

TEST_F(CopyJob, never_destroys_its_source) {
    answers.answers = {REQUEST_ALL};
    make_file("src/file", "precious");
    ASSERT_EQ(link(at("src/file").c_str(), at("dst/file").c_str()), 0);
    make_folder("src/folder/in/deep");
    make_file("src/folder/in/file", "precious");
    make_file("dst/target", "precious");
    make_link("src/target", at("dst/target"));
    make_link("dst/back", at("src/folder"));
    make_folder("src/tree/sub/deeper");
    make_file("src/tree/sub/file", "precious");
    make_folder("dst/tree");
    make_link("dst/tree/sub", at("src/tree/sub/deeper"));
    const std::pair<std::string, std::string> cases[] = {
        {at("src/file"), at("src")},           {at("src/file"), at("dst")},
        {at("src/target"), at("dst")},         {at("src/folder"), at("src")},
        {at("src/folder"), at("src/folder")},  {at("src/folder"), at("src/folder/in/deep")},
        {at("src/folder"), at("dst/back/in")}, {at("src/tree"), at("dst")}};
    make_file("src/next", "next");
    for (const auto& [source, folder] : cases) {
        EXPECT_EQ(copy({source}, folder).size(), 1U) << source << " to " << folder;
        EXPECT_EQ(copy({source, at("src/next")}, at("dst/")).size(), source == at("src/folder") ? 0U : 1U);
        EXPECT_EQ(content(at("dst/next")), "next") << source;
        ASSERT_EQ(unlink(at("dst/next").c_str()), 0);
    }
    EXPECT_EQ(content(at("src/file")), "precious");
    EXPECT_EQ(content(at("dst/target")), "precious");
    EXPECT_EQ(names_in(at("src/folder")), Names{"in"});
    EXPECT_EQ(names_in(at("src/folder/in")), (Names{"deep", "file"}));
    EXPECT_TRUE(names_in(at("src/folder/in/deep")).empty());
    EXPECT_TRUE(names_in(at("src/tree/sub/deeper")).empty());
}

TEST_F(CopyJob, tells_what_may_not_be_read_and_gives_folders_their_mode_after_their_content) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs another user's file";
    make_file("src/t/ro/file", "x");
    make_folder("src/t/ro", 0555);
    make_folder("src/t/closed", 0700);
    make_file("src/t/secret", "x", 0600);
    ASSERT_EQ(chmod(at("").c_str(), 0755) | chmod(at("dst").c_str(), 0777), 0);
    // The saved id leads back; access(2) goes by the real one.
    constexpr uid_t kOrdinary = 65534;
    ASSERT_EQ(setresuid(kOrdinary, kOrdinary, 0), 0);
    const Failures failures = copy_src("t");
    EXPECT_TRUE(copy({at("src/t/ro/file")}, at("src")).empty());
    ASSERT_EQ(setresuid(0, 0, 0), 0);
    EXPECT_EQ(failures.size(), 2U);
    EXPECT_EQ(names_in(at("dst/t")), Names{"ro"});
    EXPECT_EQ(content(at("dst/t/ro/file")), "x");
    EXPECT_EQ(mode_of(at("dst/t/ro")), 0555U);
    const std::string box = "IDS_MSG_TITLE_ERROR|IDS_ERROR_DISPLAY\nIDS_ERROR_NO_PERMISSION";
    EXPECT_EQ(answers.errors, (Names{box, box, "IDS_ERROR_DISPLAY|"}));
}

TEST_F(CopyJob, ends_with_the_first_thing_that_cannot_be_probed) {
    ASSERT_EQ(mkfifo(at("src/fifo").c_str(), 0600), 0);
    make_file("src/next", "x");
    EXPECT_EQ(copy({at("src/fifo"), at("src/next")}, at("dst")).size(), 2U);
    EXPECT_EQ(copy({at("src/none"), at("src/next")}, at("dst")).size(), 2U);
    EXPECT_TRUE(names_in(at("dst")).empty());
    EXPECT_EQ(copy({at("src/next")}, at("src/fifo")).size(), 1U);
    EXPECT_EQ(Gfile_copy_file(at("src/fifo"), at("dst/fifo"), nullptr, nullptr), -1);
}

TEST_F(CopyJob, sweeps_left_over_parts_but_none_in_use) {
    const std::string dead = at("dst/.relay-hub-abcdEFGH.part");
    const std::string dead_engines = at("dst/.relay-hub-0123456789abcdef.part");
    const std::string living = at("dst/.relay-hub-abcdEFG1.part");
    const std::string user = at("dst/.relay-hub-notes.part");
    for (const std::string& path : {dead, dead_engines, living, user})
        put(path, "x", 0600);
    const relay_hub::FileDescriptor lock(open(living.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(lock.get(), LOCK_EX), 0);
    make_file("src/file", "x");
    EXPECT_TRUE(copy_src("file").empty());
    EXPECT_FALSE(exists(dead) || exists(dead_engines));
    EXPECT_TRUE(exists(living) && exists(user));
}

TEST_F(CopyJob, a_cancel_leaves_the_whole_old_file) {
    make_file("src/big", "");
    ASSERT_EQ(truncate(at("src/big").c_str(), off_t{4} << 30U), 0);
    answers.answers = {REQUEST_YES};
    make_file("dst/big", "old");
    const relay_hub::TaskListPtr job(new_task_list());
    job->items = {at("src/big")};
    job->folder = at("dst");
    std::thread worker([&] { Gfile_local_copy(job.get()); });
    EXPECT_TRUE(wait_until([&] {
        return std::ranges::any_of(names_in(job->folder), [&](const std::string& name) {
            return record(at("dst/" + name)).st_size > 1000000;
        });
    }));
    EXPECT_TRUE(cancel_atomic(&job->state));
    worker.join();
    EXPECT_TRUE(job->failures.empty());
    EXPECT_EQ(names_in(at("dst")), Names{"big"});
    EXPECT_EQ(content(at("dst/big")), "old");
}

}  // namespace
