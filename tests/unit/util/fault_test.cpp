// What a failing system call may cost: either the copy is whole, or the old state stands and it is told.
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>

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
    const struct {
        const char* function;
        const char* source;
        bool replace;
        int skip;
    } cases[] = {
        {"read", "file", false, 0},    {"read", "file", true, 0},    {"read", "file", true, 2},
        {"write", "file", false, 0},   {"write", "file", true, 0},   {"write", "file", true, 2},
        {"write", "file", false, 2},   {"close", "file", false, 0},  {"close", "file", true, 0},
        {"fsync", "file", false, 0},   {"fsync", "file", true, 0},   {"rename", "file", true, 0},
        {"symlink", "link", false, 0}, {"symlink", "link", true, 0}, {"rename", "link", true, 0},
        {"mkdir", "", false, 0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string(each.function) + " " + each.source + (each.replace ? " replaced" : " new"));
        const std::string dst = make_folder("dst");
        if (each.replace)
            put(dst + "/" + each.source, "old", 0640);
        const std::vector<std::string> before = names_in(dst);
        {
            const Fault fault(each.function, EIO, each.skip);
            const std::string source = *each.source == '\0' ? at("src") : at("src/") + each.source;
            const auto failures = copy({source}, dst);
            ASSERT_EQ(failures.size(), 1U);
            EXPECT_EQ(failures.front().reason, "Input/output error");
        }
        EXPECT_EQ(names_in(dst), before);
        EXPECT_TRUE(!each.replace || content(dst + "/" + each.source) == "old");
        unlink((dst + "/" + each.source).c_str());
    }
}

TEST_F(Faults, a_failed_sync_of_everything_is_told) {
    make_folder("src/many");
    for (int index = 0; index < 30; ++index)
        make_file("src/many/" + std::to_string(index), "x");
    const Fault fault("syncfs", EIO);
    EXPECT_EQ(copy({at("src/many")}, at("dst")).front().path, at("dst/"));
}

TEST_F(Faults, a_full_disk_keeps_what_was_there) {
    const std::string small = make_folder("small");
    if (mount("tmpfs", small.c_str(), "tmpfs", 0, "size=1m") != 0)
        GTEST_SKIP() << "mounting is refused";
    put(small + "/big", "old");
    make_file("src/big", std::string(2 << 20, 'x'));
    EXPECT_EQ(copy({at("src/big"), at("src/file"), at("src/link")}, small).size(), 1U);
    EXPECT_EQ(content(small + "/big"), "old");
    EXPECT_EQ(content(small + "/file"), content_);
    unlink((small + "/big").c_str());
    const auto failures = copy({at("src/big")}, small);
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures.front().reason, "No space left on device");
    EXPECT_EQ(names_in(small), (Names{"file", "link"}));
    EXPECT_EQ(umount(small.c_str()), 0);
}

}  // namespace
