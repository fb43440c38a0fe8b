#include "engine/copy_batch.h"

#include <algorithm>
#include <ctime>

#include "engine/names.h"
#include "engine_sandbox.h"

namespace relay_hub::engine {
namespace {

constexpr char kBadName[] = "bad\xff";

class Copying : public EngineSandbox {
  protected:
    // From the served folder into mine.
    CopyBatch& run(const std::vector<std::string>& sources, const std::string& target_folder = "") {
        const auto show = [](const std::string& path) { return "/" + path; };
        batch_ = std::make_unique<CopyBatch>(
            CopySide{*remote_, show}, CopySide{*local_, show},
            [](const std::string& name) { return can_travel(Style::kWindows, name); }, front_end_);
        std::vector<CopyItem> items;
        items.reserve(sources.size());
        for (const std::string& source : sources)
            items.push_back({source, mine(target_folder)});
        batch_->run(items);
        return *batch_;
    }
    std::vector<std::string> failed_items() {
        std::vector<std::string> items;
        for (const Failure& failure : batch_->failures())
            items.push_back(failure.item);
        return items;
    }

    PresetFrontEnd front_end_;
    std::unique_ptr<CopyBatch> batch_;
};

TEST_F(Copying, ATreeWithModesTimesAndLinks) {
    const std::string big(3 * 1024 * 1024 + 17, 'b');
    write(served_ + "/tree/big", big, 0600);
    write(served_ + "/tree/sub/.hidden", "h", 0755);
    write(served_ + "/tree/sub/empty", "");
    write(served_ + "/outside", "o");
    ASSERT_EQ(symlink("../outside", (served_ + "/tree/link").c_str()), 0);
    ASSERT_EQ(symlink("/nowhere", (served_ + "/tree/dangling").c_str()), 0);
    const timespec times[2] = {{1'600'000'001, 5}, {1'600'000'002, 123'456'789}};
    for (const char* path : {"/tree/big", "/tree/sub"})
        ASSERT_EQ(utimensat(AT_FDCWD, (served_ + path).c_str(), times, 0), 0);
    ASSERT_EQ(chmod((served_ + "/tree/sub").c_str(), 0550), 0);

    EXPECT_TRUE(run({"tree"}).failures().empty());
    EXPECT_EQ(read(mine_ + "/tree/big"), big);
    EXPECT_EQ(names(mine_ + "/tree/sub"), (std::vector<std::string>{".hidden", "empty"}));
    EXPECT_EQ(std::filesystem::read_symlink(mine_ + "/tree/link"), "../outside");
    EXPECT_EQ(std::filesystem::read_symlink(mine_ + "/tree/dangling"), "/nowhere");
    const struct {
        const char* path;
        mode_t mode;
    } modes[] = {{"/tree/big", 0600}, {"/tree/sub", 0550}, {"/tree/sub/.hidden", 0755}};
    for (const auto& item : modes) {
        struct stat status {};
        ASSERT_EQ(stat((mine_ + item.path).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, item.mode) << item.path;
        if (std::string(item.path) != "/tree/sub/.hidden") {
            EXPECT_EQ(status.st_mtim.tv_sec, 1'600'000'002) << item.path;
            EXPECT_EQ(status.st_mtim.tv_nsec, 123'456'789) << item.path;
        }
    }
    ASSERT_FALSE(front_end_.reports.empty());
    EXPECT_EQ(front_end_.reports.front().total, big.size() + 1);
    EXPECT_EQ(chmod((mine_ + "/tree/sub").c_str(), 0755), 0);
    EXPECT_EQ(chmod((served_ + "/tree/sub").c_str(), 0755), 0);
}

TEST_F(Copying, MoreFilesThanOneFlush) {
    std::vector<std::string> expected;
    for (int i = 0; i < 300; ++i) {
        expected.push_back("file " + std::to_string(i));
        write(served_ + "/many/" + expected.back(), expected.back());
    }
    EXPECT_TRUE(run({"many"}).failures().empty());
    for (const std::string& name : expected)
        ASSERT_EQ(read(mine_ + "/many/" + name), name);
    EXPECT_EQ(names(mine_ + "/many").size(), expected.size());
}

struct ClashCase {
    std::vector<Answer> answers;
    std::size_t questions;
    const char* contents;  // of a, b and c afterwards
};

TEST_F(Copying, EachAnswerToAClash) {
    const ClashCase cases[] = {
        {{Answer::kYes, Answer::kYes, Answer::kYes}, 3, "NNN"},
        {{Answer::kNo, Answer::kYes, Answer::kNo}, 3, "oNo"},
        {{Answer::kNo, Answer::kReplaceAll}, 2, "oNN"},
        {{Answer::kYes, Answer::kCancel}, 2, "Noo"},
        {{}, 1, "ooo"},  // nobody answers
    };
    for (const ClashCase& item : cases) {
        for (const char* name : {"a", "b", "c"}) {
            write(served_ + "/" + name, "N");
            write(mine_ + "/" + name, "o");
        }
        front_end_.questions.clear();
        front_end_.answers = item.answers;
        EXPECT_TRUE(run({"a", "b", "c"}).failures().empty());
        EXPECT_EQ(front_end_.questions.size(), item.questions);
        EXPECT_EQ(read(mine_ + "/a") + read(mine_ + "/b") + read(mine_ + "/c"), item.contents);
        EXPECT_EQ(names(mine_).size(), 3U);
    }
    EXPECT_NE(front_end_.questions.front().find(mine_ + "/a"), std::string::npos);
}

TEST_F(Copying, FoldersMergeAndReplacedLinksAreNotFollowed) {
    write(served_ + "/tree/new", "n");
    write(served_ + "/tree/victim", "v");
    write(mine_ + "/tree/old", "o");
    write(top_ + "/precious", "p");
    ASSERT_EQ(symlink((top_ + "/precious").c_str(), (mine_ + "/tree/victim").c_str()), 0);
    front_end_.answers = {Answer::kYes};
    EXPECT_TRUE(run({"tree"}).failures().empty());
    EXPECT_EQ(front_end_.questions.size(), 1U);
    EXPECT_EQ(names(mine_ + "/tree"), (std::vector<std::string>{"new", "old", "victim"}));
    EXPECT_EQ(read(mine_ + "/tree/victim"), "v");
    EXPECT_EQ(read(top_ + "/precious"), "p");
}

TEST_F(Copying, TwoSourcesOfOneNameAreAClash) {
    write(served_ + "/1/a", "1");
    write(served_ + "/2/a", "2");
    front_end_.answers = {Answer::kNo};
    run({"1/a", "2/a"});
    EXPECT_EQ(front_end_.questions.size(), 1U);
    EXPECT_EQ(read(mine_ + "/a"), "1");
}

TEST_F(Copying, FailuresAreCollectedAndTheRestGoesOn) {
    write(served_ + "/file", "f");
    write(mine_ + "/file/inner", "i");
    write(served_ + "/folder/x", "x");
    write(mine_ + "/folder", "i am a file");
    write(served_ + "/" + kBadName, "b");
    write(served_ + "/good", "g");
    ASSERT_EQ(mkfifo((served_ + "/pipe").c_str(), 0600), 0);
    EXPECT_TRUE(run({"file", "folder", kBadName, "pipe", "missing", "good"}).anything_done());
    EXPECT_EQ(failed_items(), (std::vector<std::string>{"/file", "/folder", std::string("/") + kBadName,
                                                        "/pipe", "/missing"}));
    EXPECT_EQ(read(mine_ + "/good"), "g");
    EXPECT_EQ(read(mine_ + "/folder"), "i am a file");
    EXPECT_TRUE(front_end_.questions.empty());
}

TEST_F(Copying, NothingOntoOrIntoItself) {
    write(served_ + "/tree/sub/file", "f");
    mine_ = served_;
    run({"tree"}, "tree/sub");
    run({"tree"});
    EXPECT_EQ(failed_items(), std::vector<std::string>{"/tree"});
    run({"tree/sub/file"}, "tree/sub");
    EXPECT_EQ(failed_items(), std::vector<std::string>{"/tree/sub/file"});
    ASSERT_EQ(link((served_ + "/tree/sub/file").c_str(), (top_ + "/mine/file").c_str()), 0);
    mine_ = top_ + "/mine";
    run({"tree/sub/file"});
    EXPECT_EQ(failed_items(), std::vector<std::string>{"/tree/sub/file"});
    EXPECT_EQ(names(served_ + "/tree/sub"), std::vector<std::string>{"file"});
    EXPECT_EQ(read(served_ + "/tree/sub/file"), "f");
    EXPECT_TRUE(front_end_.questions.empty());
}

TEST_F(Copying, CancelInsideABigFileLeavesNoHalfFile) {
    write(served_ + "/1 small", "s");
    // Sparse, so that it would take long to copy and none to make.
    write(served_ + "/2 big", "");
    ASSERT_EQ(truncate((served_ + "/2 big").c_str(), 64LL << 30U), 0);
    write(mine_ + "/2 big", "old");
    front_end_.answers = {Answer::kYes};
    front_end_.is_cancelled = [this] { return front_end_.polls > 3; };
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(run({"1 small", "2 big"}).failures().empty());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(names(mine_), (std::vector<std::string>{"1 small", "2 big"}));
    EXPECT_EQ(read(mine_ + "/2 big"), "old");
    EXPECT_EQ(front_end_.polls, 4);
    EXPECT_GE(front_end_.reports.size(), 2U);
    EXPECT_LE(front_end_.reports.size(), 6U);
}

TEST_F(Copying, LeftOversOfTheTargetFolderGo) {
    write(served_ + "/a", "a");
    write(mine_ + "/.relay-hub-0123456789abcdef.part", "half");
    run({"a"});
    EXPECT_EQ(names(mine_), std::vector<std::string>{"a"});
}

TEST(FailureSummary, NamesTheFirstAndCountsTheRest) {
    std::vector<Failure> failures(8, {"/x", "Permission denied"});
    EXPECT_EQ(failure_summary({failures[0]}, "copied"), "1 item could not be copied:\n/x: Permission denied");
    const std::string text = failure_summary(failures, "copied");
    EXPECT_TRUE(text.starts_with("8 items could not be copied:\n/x: Permission denied\n"));
    EXPECT_TRUE(text.ends_with("\nand 3 more"));
    failures.assign(8, {std::string(5000, 'n'), std::string(5000, 'r')});
    EXPECT_LT(failure_summary(failures, "copied").size(), 1000U);
}

}  // namespace
}  // namespace relay_hub::engine
