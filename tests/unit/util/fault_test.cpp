// What a failing system call may cost: either the copy is whole, or the old state stands and it is told.
#include "base/rename_without_replacing.h"
#include "unit/util/fault_injection.h"
#include "unit/util/util_sandbox.h"

namespace {

using namespace test;
using util_test::Fault;

class Faults : public util_test::Sandbox {
  protected:
    Faults() {
        make_folder("src");
        make_folder("dst");
        make_file("src/file", content_);
        make_link("src/link", "text");
        answers.answers = {REQUEST_YES};
    }

    const std::string content_ = std::string(400000, 'a') + "end";
};

TEST_F(Faults, short_and_interrupted_transfers_change_nothing) {
    const Fault fault("transfer", EINTR);
    EXPECT_TRUE(copy({at("src/file")}, at("dst")).empty());
    EXPECT_EQ(content(at("dst/file")), content_);
}

TEST_F(Faults, each_failing_call_leaves_the_old_state_and_is_told) {
    const std::tuple<const char*, const char*, bool, int> cases[] = {
        {"read", "file", false, 0},      {"read", "file", true, 0},      {"read", "file", true, 2},
        {"write", "file", false, 0},     {"write", "file", true, 0},     {"write", "file", true, 2},
        {"write", "file", false, 2},     {"close", "file", false, 0},    {"close", "file", true, 0},
        {"fsync", "file", false, 0},     {"fsync", "file", true, 0},     {"renameat", "file", true, 0},
        {"symlinkat", "link", false, 0}, {"symlinkat", "link", true, 0}, {"renameat", "link", true, 0},
        {"renameat2", "link", false, 0}, {"fchmod", "file", false, 0},   {"futimens", "file", true, 0},
    };
    for (const auto& [function, source, replace, skip] : cases) {
        SCOPED_TRACE(std::string(function) + " " + source + (replace ? " replaced" : " new"));
        const std::string dst = make_folder("dst");
        if (replace)
            put(dst + "/" + source, "old", 0640);
        const std::vector<std::string> before = names_in(dst);
        {
            const Fault fault(function, EIO, skip);
            const auto failures = copy({at("src/") + source}, dst);
            ASSERT_EQ(failures.size(), 1U);
            EXPECT_EQ(failures.front().reason, "Input/output error");
        }
        EXPECT_EQ(names_in(dst), before);
        EXPECT_TRUE(!replace || content(dst + "/" + source) == "old");
        unlink((dst + "/" + source).c_str());
    }
}

TEST_F(Faults, a_file_keeps_a_name_when_the_answer_to_its_rename_is_lost) {
    for (const int error : {EIO, ENOTCONN, ENOENT}) {
        make_file("src/file", "x");
        const Fault fault("unlinkat", error);
        EXPECT_EQ(relay_hub::rename_without_replacing(AT_FDCWD, at("src/file"), AT_FDCWD, at("dst/moved")),
                  error == ENOENT ? 0 : error);
        EXPECT_EQ(content(at("dst/moved")), "x");
        unlink(at("dst/moved").c_str());
    }
}

TEST_F(Faults, a_failed_sync_of_everything_is_told) {
    make_folder("src/many");
    for (int index = 0; index < 30; ++index)
        make_file("src/many/" + std::to_string(index), "x");
    const Fault fault("syncfs", EIO);
    const auto failures = copy({at("src/many")}, at("dst"));
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures.front().path, at("dst/"));
}

// Each file is synced, and then, once, each folder whose names changed.
TEST_F(Faults, the_folders_of_a_batch_reach_the_disk) {
    make_file("src/tree/sub/file", "x");
    for (int skip = 0; skip < 4; ++skip) {
        make_folder("dst" + std::to_string(skip));
        const Fault fault("fsync", EIO, skip);
        const auto failures = copy({at("src/tree")}, at("dst" + std::to_string(skip)));
        ASSERT_FALSE(failures.empty()) << skip;
        EXPECT_EQ(failures.front().path.ends_with('/'), skip > 0) << failures.front().path;
    }
    make_folder("dst4");
    const Fault fault("fsync", EIO, 4);
    EXPECT_TRUE(copy({at("src/tree")}, at("dst4")).empty());
}

TEST_F(Faults, a_folder_that_cannot_be_made_ends_the_job_and_all_that_was_left_is_told) {
    make_file("src/other");
    const Fault fault("mkdir", ENOSPC);
    const auto failures = copy({at("src"), at("src/other")}, at("dst"));
    ASSERT_EQ(failures.size(), 3U);
    EXPECT_EQ(failures[0].reason, "No space left on device");
    EXPECT_EQ(failures[1].path, at("src"));
    EXPECT_EQ(failures[1].reason, "IDS_REASON_STOPPED_EARLY");
    EXPECT_EQ(failures[2].path, at("src/other"));
    __task_list job;
    job.failures = failures;
    job.task_kind = TASK_COPY;
    const relay_hub::TaskListPtr retry = relay_hub::retry_job(job);
    EXPECT_EQ(retry->items, (Names{at("src"), at("src/other")}));
    EXPECT_EQ(retry->item_folders, (Names{at("dst/"), at("dst/")}));
}

TEST_F(Faults, a_folder_whose_reading_breaks_off_is_told) {
    make_file("src/tree/file", "x");
    for (const int skip : {0, 1}) {
        const auto failures = [&] {
            // As many calls as the counting walk needs come first.
            const Fault fault("readdir", EIO, 4 + skip);
            return copy({at("src/tree")}, at("dst"));
        }();
        ASSERT_EQ(failures.size(), 1U) << skip;
        EXPECT_EQ(failures.front().path, at("src/tree"));
        EXPECT_EQ(failures.front().reason, "Input/output error");
    }
}

TEST_F(Faults, without_the_owner_or_the_access_list_a_copy_grants_no_more) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs another user's file";
    make_file("src/program", "x", 0600);
    ASSERT_EQ(chown(at("src/program").c_str(), 1, 1), 0);
    ASSERT_EQ(chmod(at("src/program").c_str(), 06755), 0);
    for (const bool replace : {false, true}) {
        const Fault fault("fchown", EPERM);
        EXPECT_TRUE(copy({at("src/program")}, at("dst")).empty()) << replace;
        EXPECT_EQ(mode_of(at("dst/program")), 0755U) << replace;
    }
    EXPECT_TRUE(copy({at("src/program")}, at("dst")).empty());
    EXPECT_EQ(mode_of(at("dst/program")), 06755U);
    EXPECT_EQ(record(at("dst/program")).st_uid, 1U);

    const bool lists = test::give_access_list(make_file("src/shared", "x"));
    if (!lists || !test::give_access_list(make_folder("src/team")))
        GTEST_SKIP() << "no access control lists here";
    // Nor is the mask of a list cut by that of the process.
    for (const std::string name : {"shared", "team"}) {
        EXPECT_TRUE(copy({at("src/" + name)}, at("dst")).empty());
        EXPECT_EQ(mode_of(at("dst/" + name)), 0760U);
        EXPECT_GT(getxattr(at("dst/" + name).c_str(), "system.posix_acl_access", nullptr, 0), 0);
    }
    const Fault fault("fsetxattr", ENOTSUP);
    EXPECT_TRUE(copy({at("src/shared")}, at("dst")).empty());
    EXPECT_EQ(mode_of(at("dst/shared")), 0700U);
}

}  // namespace
