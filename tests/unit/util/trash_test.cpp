// The trash's layout, the delete job, and a folder in the order of its names.
#include <sys/mount.h>

#include "unit/util/fault_injection.h"
#include "unit/util/util_sandbox.h"
#include "util/sorted_folder.h"

namespace {

using namespace test;

class Trash : public util_test::Sandbox {
  protected:
    Trash() { std::filesystem::remove_all(trash()); }

    static std::string trash() { return util_test::home.folder.at() + "/Trash"; }
};

TEST_F(Trash, an_entry_that_does_not_move_stays_and_the_rest_goes) {
    const std::string folder = make_folder("f");
    put(folder + "/x", "x");
    put(trash(), "no folder");
    EXPECT_THAT(remove(folder, {"x"}), testing::ElementsAre(testing::Field(&__task_failure::reason,
                                                                           trash() + "/: Not a directory")));
    std::filesystem::remove(trash());
    // A folder that holds the trash cannot be moved into it.
    const auto failures = remove(
        "/", {util_test::home.folder.at().substr(1), at("f").substr(1) + "/none", at("f").substr(1) + "/x"});
    EXPECT_EQ(failures.size(), 2U);
    EXPECT_TRUE(exists(util_test::home.folder.at()));
    EXPECT_FALSE(exists(folder + "/x"));
    EXPECT_EQ(names_in(trash()).size(), 2U);
    EXPECT_EQ(mode_of(trash()), 0700U);
    EXPECT_TRUE(answers.job_errors.empty());
}

TEST_F(Trash, a_move_that_half_succeeded_keeps_the_only_copy) {
    const std::string other = make_folder("other");
    if (mount("tmpfs", other.c_str(), "tmpfs", 0, "size=1m") != 0)
        GTEST_SKIP() << "mounting is refused";
    make_folder("other/f/busy");
    put(other + "/f/a", "a");
    // Copied like everything else, but a mount point cannot be removed from where it was.
    ASSERT_EQ(mount("tmpfs", (other + "/f/busy").c_str(), "tmpfs", 0, "size=1m"), 0);
    const auto failures = remove(other, {"f"});
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures.front().reason, "Device or resource busy");
    ASSERT_FALSE(names_in(trash()).empty());
    const std::string entry = trash() + "/" + names_in(trash()).front();
    EXPECT_TRUE(exists(other + "/f/a") != exists(entry + "/f/a"));
    EXPECT_EQ(umount((other + "/f/busy").c_str()), 0);

    // Out of space half-way: nothing has left its place, so no litter stays.
    std::filesystem::remove_all(trash());
    ASSERT_EQ(mkdir(trash().c_str(), 0700), 0);
    ASSERT_EQ(mount("tmpfs", trash().c_str(), "tmpfs", 0, "size=64k"), 0);
    make_folder("big");
    make_file("big/1", "1");
    make_file("big/2", std::string(200000, '2'));
    EXPECT_EQ(remove(at(""), {"big"}).size(), 1U);
    EXPECT_EQ(names_in(at("big")).size(), 2U);
    EXPECT_TRUE(names_in(trash()).empty());
    EXPECT_EQ(umount(trash().c_str()), 0);
    EXPECT_EQ(umount(other.c_str()), 0);
}

TEST_F(Trash, a_missing_info_file_ends_the_job_with_its_reason) {
    const std::string folder = make_folder("f");
    put(folder + "/x", "x");
    put(folder + "/y", "y");
    const util_test::Fault fault("write", ENOSPC);
    EXPECT_EQ(remove(folder, {"x", "y"}).size(), 2U);
    EXPECT_EQ(g_s_nMsgCode, ENOSPC);
    EXPECT_EQ(answers.job_errors, Names{"No space left on device"});
    EXPECT_TRUE(exists(folder + "/y"));
}

using SortedFolder = util_test::Sandbox;

TEST_F(SortedFolder, KeepsTheOrderOfNamesSortedInHalves) {
    constexpr std::size_t kCount = 7001;
    const std::string path = make_folder("many");
    for (std::size_t index = 0; index < kCount; ++index)
        put(path + "/" + std::to_string(index), "");
    relay_hub::SortedFolder sorted(path);
    ASSERT_EQ(sorted.size(), kCount);
    for (std::size_t index = 0; index < kCount; ++index)
        ASSERT_EQ(sorted.entry(index).name, std::to_string(index));
    EXPECT_EQ(relay_hub::SortedFolder(path + "/0").error_number(), ENOTDIR);
}

}  // namespace
