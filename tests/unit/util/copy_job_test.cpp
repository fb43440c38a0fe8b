// The copy job: what becomes of each kind of entry, under each answer.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <thread>

#include "name_pipe/file_descriptor.h"
#include "unit/util/util_sandbox.h"

namespace {

using util_test::exists;
using util_test::link_text;
using util_test::mode_of;
using util_test::names_in;
using util_test::read_text;
using util_test::record;
using util_test::write_text;

class CopyJob : public util_test::Sandbox {
  protected:
    CopyJob() {
        make_folder("src");
        make_folder("dst");
    }
    std::vector<__task_failure> copy_src(const std::string& name) {
        return copy({at("src/" + name)}, at("dst"));
    }
};

TEST_F(CopyJob, copies_a_tree_with_links_modes_and_odd_names) {
    make_folder("src/tree/inner");
    const std::string odd = "-a 'b\" \n\xff%s";
    write_text(at("src/tree/inner/" + odd), std::string(300000, 'x') + "end", 0640);
    write_text(at("src/tree/empty"), "", 04755);
    ASSERT_EQ(symlink("inner", at("src/tree/to_folder").c_str()), 0);
    ASSERT_EQ(symlink(std::string(3000, 'n').c_str(), at("src/tree/dangling").c_str()), 0);
    EXPECT_TRUE(copy_src("tree//").empty());
    EXPECT_EQ(read_text(at("dst/tree/inner/" + odd)), std::string(300000, 'x') + "end");
    EXPECT_EQ(mode_of(at("dst/tree/inner/" + odd)), 0640U);
    EXPECT_EQ(link_text(at("dst/tree/to_folder")), "inner");
    EXPECT_EQ(link_text(at("dst/tree/dangling")), std::string(3000, 'n'));
    EXPECT_EQ(names_in(at("dst/tree")), names_in(at("src/tree")));
    EXPECT_TRUE(answers.questions.empty());
}

TEST_F(CopyJob, acts_on_each_answer) {
    struct Case {
        int answer;
        const char* first;
        const char* second;
        std::size_t questions;
    };
    const Case cases[] = {{REQUEST_YES, "new1", "new2", 2},
                          {REQUEST_NO, "old1", "old2", 2},
                          {REQUEST_ALL, "new1", "new2", 1},
                          {REQUEST_CANCEL, "old1", "old2", 1},
                          {-4, "old1", "old2", 1}};
    for (const Case& each : cases) {
        write_text(at("src/1"), "new1");
        write_text(at("src/2"), "new2");
        write_text(at("dst/1"), "old1");
        write_text(at("dst/2"), "old2");
        answers.answers = {each.answer};
        answers.questions.clear();
        EXPECT_TRUE(copy({at("src/1"), at("src/2")}, at("dst")).empty());
        EXPECT_EQ(read_text(at("dst/1")), each.first) << each.answer;
        EXPECT_EQ(read_text(at("dst/2")), each.second) << each.answer;
        EXPECT_EQ(answers.questions.size(), each.questions) << each.answer;
        EXPECT_EQ(answers.questions.front(), "IDS_EXIST_FILE_NAME ?");
        EXPECT_EQ(names_in(at("dst")).size(), 2U);
    }
}

TEST_F(CopyJob, replace_all_holds_across_new_entries) {
    for (const char* name : {"1", "2", "3"})
        write_text(at("src/") + name, "new");
    write_text(at("dst/1"), "old");
    write_text(at("dst/3"), "old");
    answers.answers = {REQUEST_ALL, REQUEST_CANCEL};
    EXPECT_TRUE(copy({at("src/1"), at("src/2"), at("src/3")}, at("dst")).empty());
    EXPECT_EQ(read_text(at("dst/3")), "new");
    EXPECT_EQ(cp_st, 1);
}

TEST_F(CopyJob, merges_a_folder_into_one_of_the_same_name) {
    make_folder("src/f", 0750);
    write_text(at("src/f/same"), "new", 0600);
    write_text(at("src/f/only_src"), "s");
    make_folder("dst/f", 0700);
    write_text(at("dst/f/same"), "old");
    write_text(at("dst/f/only_dst"), "d");
    const timespec times[] = {{1000000, 0}, {2000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, at("src/f").c_str(), times, 0), 0);

    // No on the folder: its children are asked for all the same.
    answers.answers = {REQUEST_NO, REQUEST_YES};
    EXPECT_TRUE(copy_src("f").empty());
    EXPECT_EQ(answers.questions.size(), 2U);
    EXPECT_EQ(mode_of(at("dst/f")), 0700U);
    EXPECT_EQ(read_text(at("dst/f/same")), "new");
    EXPECT_EQ(read_text(at("dst/f/only_src")), "s");
    EXPECT_EQ(read_text(at("dst/f/only_dst")), "d");

    answers.answers = {REQUEST_ALL};
    EXPECT_TRUE(copy_src("f").empty());
    EXPECT_EQ(mode_of(at("dst/f")), 0750U);
    EXPECT_EQ(record(at("dst/f")).st_mtim.tv_sec, 2000000);
}

TEST_F(CopyJob, replaces_entries_of_any_kind_with_any) {
    const auto make = [&](char kind, const std::string& path) {
        if (kind == 'f')
            write_text(path, path);
        else if (kind == 'l') {
            ASSERT_EQ(symlink(path.c_str(), path.c_str()), 0);
        } else {
            ASSERT_EQ(mkdir(path.c_str(), 0755), 0);
        }
        if (kind == 'D')
            write_text(path + "/child", "kept");
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
        const std::vector<__task_failure> failures = copy_src(name);
        EXPECT_EQ(failures.empty(), replaced) << kinds;
        const struct stat after = record(at("dst/" + name));
        EXPECT_EQ(after.st_mode & S_IFMT, record(at(replaced ? "src/" : "dst/") + name).st_mode & S_IFMT)
            << kinds;
        if (!replaced) {
            EXPECT_EQ(after.st_ino, before.st_ino) << kinds;
        }
        if (kinds[1] == 'D') {
            EXPECT_EQ(read_text(at("dst/" + name + "/child")), "kept") << kinds;
        }
    }
    for (const std::string& name : names_in(at("dst")))
        EXPECT_TRUE(name.starts_with("kinds-")) << name;
}

TEST_F(CopyJob, never_destroys_its_source) {
    answers.answers = {REQUEST_ALL};
    write_text(at("src/file"), "precious");
    ASSERT_EQ(link(at("src/file").c_str(), at("dst/file").c_str()), 0);
    make_folder("src/folder/in/deep");
    write_text(at("src/folder/in/file"), "precious");
    write_text(at("dst/target"), "precious");
    ASSERT_EQ(symlink(at("dst/target").c_str(), at("src/target").c_str()), 0);
    ASSERT_EQ(symlink(at("src/folder").c_str(), at("dst/back").c_str()), 0);
    make_folder("src/tree/sub/deeper");
    write_text(at("src/tree/sub/file"), "precious");
    make_folder("dst/tree");
    ASSERT_EQ(symlink(at("src/tree/sub/deeper").c_str(), at("dst/tree/sub").c_str()), 0);
    const std::pair<std::string, std::string> cases[] = {
        {at("src/file"), at("src")},           {at("src/file"), at("dst")},
        {at("src/target"), at("dst")},         {at("src/folder"), at("src")},
        {at("src/folder"), at("src/folder")},  {at("src/folder"), at("src/folder/in/deep")},
        {at("src/folder"), at("dst/back/in")}, {at("src/tree"), at("dst")}};
    write_text(at("src/next"), "next");
    for (const auto& [source, folder] : cases) {
        EXPECT_EQ(copy({source}, folder).size(), 1U) << source << " to " << folder;
        EXPECT_EQ(copy({source, at("src/next")}, at("dst/")).size(), source == at("src/folder") ? 0U : 1U);
        EXPECT_EQ(read_text(at("dst/next")), "next") << source;
        ASSERT_EQ(unlink(at("dst/next").c_str()), 0);
    }
    EXPECT_EQ(read_text(at("src/file")), "precious");
    EXPECT_EQ(read_text(at("dst/target")), "precious");
    EXPECT_EQ(names_in(at("src/folder")), std::vector<std::string>{"in"});
    EXPECT_EQ(names_in(at("src/folder/in")), (std::vector<std::string>{"deep", "file"}));
    EXPECT_TRUE(names_in(at("src/folder/in/deep")).empty());
    EXPECT_TRUE(names_in(at("src/tree/sub/deeper")).empty());
}

TEST_F(CopyJob, gives_read_only_folders_their_mode_after_their_content) {
    make_folder("src/ro/in");
    write_text(at("src/ro/in/file"), "x");
    ASSERT_EQ(chmod(at("src/ro/in").c_str(), 0555), 0);
    ASSERT_EQ(chmod(at("src/ro").c_str(), 0500), 0);
    std::vector<__task_failure> failures;
    if (geteuid() == 0) {
        for (const std::string& path :
             {at("dst"), at("src/ro"), at("src/ro/in"), at("src/ro/in/file"), at("")})
            ASSERT_EQ(chown(path.c_str(), util_test::OrdinaryUser::kId, 0), 0);
        const util_test::OrdinaryUser user;
        failures = copy_src("ro");
    } else {
        failures = copy_src("ro");
    }
    EXPECT_TRUE(failures.empty());
    EXPECT_EQ(read_text(at("dst/ro/in/file")), "x");
    EXPECT_EQ(mode_of(at("dst/ro/in")), 0555U);
    EXPECT_EQ(mode_of(at("dst/ro")), 0500U);
}

TEST_F(CopyJob, tells_what_may_not_be_read_and_goes_on) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs another user's file";
    make_folder("src/t/closed", 0700);
    write_text(at("src/t/secret"), "x", 0600);
    write_text(at("src/t/z"), "z");
    ASSERT_EQ(chmod(at("").c_str(), 0755) | chmod(at("dst").c_str(), 0777), 0);
    std::vector<__task_failure> failures;
    {
        const util_test::OrdinaryUser user;
        failures = copy_src("t");
        EXPECT_TRUE(copy({at("src/t/z")}, at("src")).empty());
    }
    EXPECT_EQ(failures.size(), 2U);
    EXPECT_EQ(names_in(at("dst/t")), std::vector<std::string>{"z"});
    const std::string box = "IDS_MSG_TITLE_ERROR|IDS_ERROR_DISPLAY\nIDS_ERROR_NO_PERMISSION";
    EXPECT_EQ(answers.errors, (std::vector<std::string>{box, box, "IDS_ERROR_DISPLAY|"}));
}

TEST_F(CopyJob, ends_with_the_first_thing_that_cannot_be_probed) {
    ASSERT_EQ(mkfifo(at("src/fifo").c_str(), 0600), 0);
    write_text(at("src/next"), "x");
    EXPECT_EQ(copy({at("src/fifo"), at("src/next")}, at("dst")).size(), 2U);
    EXPECT_EQ(copy({at("src/none"), at("src/next")}, at("dst")).size(), 2U);
    EXPECT_TRUE(names_in(at("dst")).empty());
    EXPECT_EQ(copy({at("src/next")}, at("src/fifo")).size(), 1U);
    EXPECT_EQ(Gfile_copy_file(at("src/fifo"), at("dst/fifo"), nullptr, nullptr), -1);
}

TEST_F(CopyJob, joins_a_source_directly_under_the_root_without_a_slash) {
    std::string source = "/relay-hub-XXXXXX";
    const int fd = mkstemp(source.data());
    if (fd < 0)
        GTEST_SKIP() << "the root folder is not writable";
    close(fd);
    const std::vector<__task_failure> failures = copy({source}, at("dst"));
    unlink(source.c_str());
    EXPECT_TRUE(failures.empty());
    EXPECT_TRUE(exists(at("dst") + source.substr(1)));
}

TEST_F(CopyJob, sweeps_left_over_parts_but_none_in_use) {
    const std::string dead = at("dst/.relay-hub-abcdEFGH.part");
    const std::string dead_engines = at("dst/.relay-hub-0123456789abcdef.part");
    const std::string living = at("dst/.relay-hub-abcdEFG1.part");
    const std::string user = at("dst/.relay-hub-notes.part");
    for (const std::string& path : {dead, dead_engines, living, user})
        write_text(path, "x", 0600);
    const relay_hub::FileDescriptor lock(open(living.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(lock.get(), LOCK_EX), 0);
    write_text(at("src/file"), "x");
    EXPECT_TRUE(copy_src("file").empty());
    EXPECT_FALSE(exists(dead) || exists(dead_engines));
    EXPECT_TRUE(exists(living));
    EXPECT_TRUE(exists(user));
}

TEST_F(CopyJob, copies_more_files_than_wait_for_one_sync) {
    make_folder("src/many");
    for (int index = 0; index < 40; ++index)
        write_text(at("src/many/" + std::to_string(index)), std::string(1 << 20, 'x'));
    EXPECT_TRUE(copy_src("many").empty());
    EXPECT_EQ(names_in(at("dst/many")).size(), 40U);
}

TEST_F(CopyJob, a_cancel_leaves_the_part_of_a_new_file_and_the_whole_old_one) {
    constexpr off_t kSize = off_t{4} << 30U;
    write_text(at("src/big"), "");
    ASSERT_EQ(truncate(at("src/big").c_str(), kSize), 0);
    answers.answers = {REQUEST_YES};
    for (const bool replace : {false, true}) {
        if (replace)
            write_text(at("dst/big"), "old");
        const relay_hub::TaskListPtr job(new_task_list());
        job->items = {at("src/big")};
        job->folder = at("dst");
        std::thread worker([&] { Gfile_local_copy(job.get()); });
        EXPECT_TRUE(util_test::wait_for([&] {
            for (const std::string& name : names_in(job->folder)) {
                if (record(at("dst/" + name)).st_size > 1000000)
                    return true;
            }
            return false;
        }));
        EXPECT_TRUE(cancel_atomic(&job->state));
        worker.join();
        EXPECT_TRUE(job->failures.empty());
        EXPECT_EQ(names_in(at("dst")), std::vector<std::string>{"big"});
        EXPECT_EQ(replace, record(at("dst/big")).st_size == 3);
        EXPECT_LT(record(at("dst/big")).st_size, kSize);
    }
}

TEST_F(CopyJob, a_pause_waits_and_a_cancel_ends_it) {
    write_text(at("src/1"), "x");
    const relay_hub::TaskListPtr job(new_task_list());
    job->state = kStatePaused;
    job->items = {at("src/1")};
    job->folder = at("dst");
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    std::thread worker([&] { Gfile_local_copy(job.get()); });
    usleep(200000);  // long enough for a spinning wait to show
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_TRUE(names_in(at("dst")).empty());
    EXPECT_LT(after.ru_nvcsw - before.ru_nvcsw, 100);
    cancel_atomic(&job->state);
    worker.join();
    EXPECT_TRUE(names_in(at("dst")).empty());
}

}  // namespace
