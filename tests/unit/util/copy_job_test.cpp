// The copy job: what becomes of each kind of entry, under each answer.
#include <sys/mount.h>
#include <sys/sysmacros.h>

#include "unit/util/fault_injection.h"
#include "unit/util/util_sandbox.h"
#include "util/byte_copy.h"
#include "util/file_attributes.h"
#include "util/job_failures.h"

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
    const std::tuple<std::string, int, int, int> cases[] = {
        {at("file"), 0, 3, 0},  {at("program"), 0, 3, 1}, {folder, 0, 4, 1},      {at("link"), 0, 2, 1},
        {at("fifo"), -1, 0, 0}, {"/dev/null", 0, 5, 0},   {at("none"), -1, 0, 0}, {at("dangling"), -1, 2, 0}};
    for (const auto& [path, result, type, executable] : cases) {
        __file_permission permission;
        EXPECT_EQ(Gfile_check_file_type_permission(path, &permission), result) << path;
        EXPECT_EQ(permission.type, type) << path;
        EXPECT_EQ(permission.executable, executable) << path;
    }
}

TEST_F(CopyJob, copies_single_attributes_and_files) {
    const std::string source = make_file("file", "new", 0751), target = make_file("other", "old", 0600);
    const timespec times[] = {{1000000000, 0}, {1100000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
    for (const auto copy_attribute : {duplicate_file_mode, duplicate_file_owner, duplicate_file_access_time,
                                      duplicate_file_modify_time}) {
        EXPECT_EQ(copy_attribute(source, target), 0);
        EXPECT_EQ(copy_attribute(at("none"), target), -1);
    }
    EXPECT_EQ(mode_of(target), 0751U);
    EXPECT_EQ(record(target).st_atim.tv_sec, 1000000000);
    EXPECT_EQ(record(target).st_mtim.tv_sec, 1100000000);
    EXPECT_EQ(low_copy_file(source.c_str(), target.c_str()), -1) << "only a new file";
    EXPECT_EQ(low_copy_file(source.c_str(), at("made").c_str()), 0);
    EXPECT_EQ(content(at("made")) + content(target), "newold");
    EXPECT_EQ(low_copy_file(nullptr, at("x").c_str()), -1);
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
    EXPECT_EQ(content(at("dst/f/same")) + content(at("dst/f/only_src")) + content(at("dst/f/only_dst")),
              "newsd");
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
        const struct stat kept = record(at(replaced ? "src/" : "dst/") + name);
        EXPECT_EQ(after.st_mode & S_IFMT, kept.st_mode & S_IFMT) << kinds;
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
    // The box has told them.
    EXPECT_EQ(relay_hub::failure_summary(failures), "");
    EXPECT_EQ(names_in(at("dst/t")), Names{"ro"});
    EXPECT_EQ(content(at("dst/t/ro/file")), "x");
    EXPECT_EQ(mode_of(at("dst/t/ro")), 0555U);
    const std::string box = "IDS_MSG_TITLE_ERROR|IDS_ERROR_DISPLAY\nIDS_ERROR_NO_PERMISSION";
    EXPECT_EQ(answers.errors, (Names{box, box, "IDS_ERROR_DISPLAY|"}));
}

TEST_F(CopyJob, tells_what_is_no_file_and_goes_on) {
    make_folder("src/t");
    ASSERT_EQ(mkfifo(at("src/t/fifo").c_str(), 0600), 0);
    ASSERT_EQ(mknod(at("src/t/socket").c_str(), S_IFSOCK | 0600, 0), 0);
    make_file("src/t/next", "x");
    const bool device = mknod(at("src/t/zero").c_str(), S_IFCHR | 0600, makedev(1, 5)) == 0;
    const Failures failures = copy({at("src/none"), at("src/t")}, at("dst"));
    ASSERT_EQ(failures.size(), device ? 4U : 3U);
    for (std::size_t i = 1; i < failures.size(); ++i)
        EXPECT_EQ(failures[i].reason, "IDS_REASON_SPECIAL_FILE");
    EXPECT_EQ(names_in(at("dst/t")), Names{"next"});
    EXPECT_EQ(copy({at("src/t/next")}, at("src/t/fifo")).size(), 1U);
    ASSERT_EQ(mkfifo(at("src/fifo").c_str(), 0600), 0);
    EXPECT_EQ(Gfile_copy_file(at("src/fifo"), at("dst/fifo"), nullptr, nullptr), -1);
}

TEST_F(CopyJob, makes_nothing_beside_the_destination) {
    make_file("src/a/b/file", "x");
    answers.answers = {REQUEST_ALL};
    const std::pair<std::string, std::string> cases[] = {
        {at("src/a/b/.."), "a"}, {at("src/a/b/../"), "a"}, {at("src/a/."), "a"}, {at("src/a//"), "a"}};
    for (const auto& [source, name] : cases) {
        make_folder("box/dst");
        EXPECT_TRUE(copy({source}, at("box/dst")).empty()) << source;
        EXPECT_EQ(names_in(at("box")), Names{"dst"}) << source;
        EXPECT_EQ(names_in(at("box/dst")), Names{name}) << source;
        std::filesystem::remove_all(at("box"));
    }
    const Failures failures = copy({"/", "/../"}, at("dst"));
    ASSERT_EQ(failures.size(), 2U);
    EXPECT_EQ(failures.front().reason, "IDS_REASON_NO_NAME");
    // From a source directly below the root, too.
    const std::string below_root = "/relay-hub-" + std::to_string(getpid());
    if (geteuid() == 0 && symlink("x", below_root.c_str()) == 0) {
        EXPECT_TRUE(copy({below_root}, at("dst")).empty());
        EXPECT_TRUE(exists(at("dst") + below_root));
        unlink(below_root.c_str());
    }
}

TEST_F(CopyJob, keeps_times_holes_and_extended_attributes) {
    make_file("src/t/file", "data");
    ASSERT_EQ(truncate(at("src/t/file").c_str(), 64 << 20), 0);
    make_file("src/t/empty_end", "");
    ASSERT_EQ(truncate(at("src/t/empty_end").c_str(), 1 << 20), 0);
    make_link("src/t/link", "text");
    const bool attributes = setxattr(at("src/t/file").c_str(), "user.tag", "blue", 4, 0) == 0 &&
                            setxattr(at("src/t").c_str(), "user.tag", "blue", 4, 0) == 0;
    make_folder("dst/t", 0700);
    for (const bool replace : {false, true}) {
        // Access before modification, in the past, so that reading changes the one at most.
        const timespec times[] = {{1000000000, 123456789}, {1100000000, 987654321}};
        const Names entries{"t/file", "t/empty_end", "t/link", "t"};
        for (const std::string& name : entries)
            ASSERT_EQ(utimensat(AT_FDCWD, at("src/" + name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
        answers.answers = {REQUEST_ALL};
        EXPECT_TRUE(copy_src("t").empty());
        for (const std::string& name : entries) {
            const struct stat made = record(at("dst/" + name));
            EXPECT_EQ(made.st_mtim.tv_sec, 1100000000) << name << replace;
            EXPECT_EQ(made.st_mtim.tv_nsec, 987654321) << name << replace;
            EXPECT_EQ(made.st_atim.tv_nsec, 123456789) << name << replace;
        }
        const struct stat file = record(at("dst/t/file"));
        EXPECT_EQ(file.st_size, 64 << 20);
        EXPECT_LT(file.st_blocks, 1024);
        EXPECT_EQ(record(at("dst/t/empty_end")).st_size, 1 << 20);
        EXPECT_EQ(content(at("dst/t/file")).substr(0, 5), std::string("data\0", 5));
        char value[4] = {};
        EXPECT_TRUE(!attributes || getxattr(at("dst/t/file").c_str(), "user.tag", value, 4) == 4);
        EXPECT_TRUE(!attributes || getxattr(at("dst/t").c_str(), "user.tag", value, 4) == 4);
    }
}

// One planted by somebody who may write into the destination while the content is being written.
TEST_F(CopyJob, a_link_planted_under_the_new_name_changes_nothing_elsewhere) {
    make_file("src/file", "x", 0777);
    const std::string victim = make_file("victim", "mine", 0600);
    const struct stat before = record(victim);
    const util_test::BeforeWrites plant([&] {
        unlink(at("dst/file").c_str());
        (void)!symlink(victim.c_str(), at("dst/file").c_str());
    });
    (void)copy_src("file");
    const struct stat after = record(victim);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(content(victim), "mine");
    // Nor does a failed copy remove what is not its own.
    unlink(at("dst/file").c_str());
    const util_test::Fault fault("fchmod", EIO);
    EXPECT_EQ(copy_src("file").size(), 1U);
    EXPECT_TRUE(exists(at("dst/file")));
}

TEST_F(CopyJob, a_file_that_changes_meanwhile_replaces_nothing) {
    answers.answers = {REQUEST_YES};
    for (const bool replace : {false, true}) {
        make_file("src/log", std::string(400000, 'x'));
        if (replace)
            make_file("dst/log", "old");
        const util_test::BeforeWrites cut([&] { (void)!truncate(at("src/log").c_str(), 1000); });
        EXPECT_EQ(copy_src("log").at(0).reason, "IDS_REASON_CHANGED_IN_COPY");
        EXPECT_EQ(exists(at("dst/log")), replace);
    }
    EXPECT_EQ(content(at("dst/log")), "old");
}

TEST_F(CopyJob, a_folder_is_not_made_in_what_is_none) {
    make_folder("src/f");
    make_link("dst/f", "nowhere");
    answers.answers = {REQUEST_YES};
    const Failures failures = copy_src("f");
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures.front().path, at("dst/f"));
    // Nor does anything go through a link that was to be left alone.
    make_file("src/g/file");
    const std::string elsewhere = make_folder("elsewhere");
    make_link("dst/g", elsewhere);
    for (const int no : {REQUEST_NO, kRequestSkipAll}) {
        answers.answers = {no};
        EXPECT_TRUE(copy_src("g").empty());
        EXPECT_TRUE(names_in(elsewhere).empty());
    }
}

TEST_F(CopyJob, a_mount_of_the_destination_in_the_source_is_entered_once) {
    make_file("src/tree/file", "x");
    make_folder("src/tree/mnt");
    if (mount(at("dst").c_str(), at("src/tree/mnt").c_str(), nullptr, MS_BIND, nullptr) != 0)
        GTEST_SKIP() << "mounting is refused";
    // The second time the folder is there, and copied into all the same.
    answers.answers = {REQUEST_ALL};
    for (const char* run : {"new", "merged"}) {
        const Failures failures = copy_src("tree");
        ASSERT_EQ(failures.size(), 1U) << run;
        EXPECT_EQ(failures.front().path, at("src/tree/mnt/tree")) << run;
    }
    EXPECT_EQ(umount(at("src/tree/mnt").c_str()), 0);
    EXPECT_EQ(content(at("dst/tree/file")), "x");
    EXPECT_TRUE(names_in(at("dst/tree/mnt")).empty());
}

TEST_F(CopyJob, replaces_all_also_after_a_new_entry) {
    for (const char* name : {"1", "2", "3"})
        make_file(std::string("src/") + name, "new");
    make_file("dst/1", "old");
    make_file("dst/3", "old");
    answers.answers = {REQUEST_ALL, REQUEST_CANCEL};
    EXPECT_TRUE(copy({at("src/1"), at("src/2"), at("src/3")}, at("dst")).empty());
    ASSERT_EQ(answers.questions.size(), 1U);
    EXPECT_EQ(content(at("dst/1")) + content(at("dst/2")) + content(at("dst/3")), "newnewnew");
    EXPECT_EQ(answers.questions[0].existing->size, 3U);
    EXPECT_EQ(answers.questions[0].incoming->modified.tv_sec, record(at("src/1")).st_mtim.tv_sec);
    answers.answers = {kRequestSkipAll};
    EXPECT_TRUE(copy({at("src/1"), at("src/2")}, at("dst")).empty());
    EXPECT_EQ(answers.questions.size(), 2U);
}

TEST_F(CopyJob, counts_what_it_does_and_tries_again_what_failed) {
    make_file("src/t/a", "12345");
    make_file("src/t/b", "123");
    make_folder("dst/t/b/in_the_way");
    answers.answers = {REQUEST_YES};
    const relay_hub::TaskListPtr job = new_job({at("src/t")}, at("dst"));
    Gfile_local_copy(job.get());
    const relay_hub::JobProgress progress = job->counters.snapshot();
    EXPECT_TRUE(progress.counted);
    EXPECT_EQ(progress.items_done, 3U);
    EXPECT_EQ(progress.items_total, 3U);
    EXPECT_EQ(progress.bytes_done, 8U);
    EXPECT_EQ(progress.bytes_total, 8U);
    ASSERT_EQ(job->failures.size(), 1U);
    std::filesystem::remove_all(at("dst/t/b"));
    const relay_hub::TaskListPtr retry = relay_hub::retry_job(*job);
    EXPECT_EQ(retry->items, Names{at("src/t/b")});
    Gfile_local_copy(retry.get());
    EXPECT_TRUE(retry->failures.empty());
    EXPECT_EQ(content(at("dst/t/b")), "123");
    EXPECT_EQ(relay_hub::retry_job(*retry), nullptr);
}

TEST_F(CopyJob, a_cancel_leaves_the_whole_old_file) {
    make_file("src/big", std::string(4 << 20, 'x'));
    answers.answers = {REQUEST_YES};
    make_file("dst/big", "old");
    const relay_hub::TaskListPtr job = new_job({at("src/big")}, at("dst"));
    make_file("dst/.relay-hub-abcdEFGH.part", "of a run that died");
    int writes = 0;
    const util_test::BeforeWrites cancel([&] {
        if (++writes == 3)
            (void)cancel_atomic(&job->state);
    });
    Gfile_local_copy(job.get());
    EXPECT_LT(writes, 10);
    EXPECT_TRUE(job->failures.empty());
    EXPECT_EQ(names_in(at("dst")), Names{"big"});
    EXPECT_EQ(content(at("dst/big")), "old");
}

}  // namespace
