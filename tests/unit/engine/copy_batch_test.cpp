#include "engine/copy_batch.h"

#include <algorithm>

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

TEST_F(Copying, EachAnswerToAClash) {
    const struct {
        std::vector<Answer> answers;
        std::size_t questions;
        const char* contents;  // of a, b and c afterwards
    } cases[] = {
        {{Answer::kYes, Answer::kYes, Answer::kYes}, 3, "NNN"},
        {{Answer::kNo, Answer::kYes, Answer::kNo}, 3, "oNo"},
        {{Answer::kNo, Answer::kReplaceAll}, 2, "oNN"},
        {{Answer::kYes, Answer::kCancel}, 2, "Noo"},
        {{}, 1, "ooo"},  // nobody answers
    };
    for (const auto& item : cases) {
        for (const char* name : {"a", "b", "c"}) {
            put(served_ + "/" + name, "N");
            put(mine_ + "/" + name, "o");
        }
        front_end_.questions.clear();
        front_end_.answers = item.answers;
        EXPECT_TRUE(run({"a", "b", "c"}).failures().empty());
        EXPECT_EQ(front_end_.questions.size(), item.questions);
        EXPECT_EQ(content(mine_ + "/a") + content(mine_ + "/b") + content(mine_ + "/c"), item.contents);
        EXPECT_EQ(names_in(mine_).size(), 3U);
    }
    EXPECT_NE(front_end_.questions.front().find(mine_ + "/a"), std::string::npos);
}

TEST_F(Copying, FoldersMergeAndReplacedLinksAreNotFollowed) {
    make_file("served/tree/new", "n");
    make_file("served/tree/victim", "v");
    make_file("mine/tree/old", "o");
    make_file("precious", "p");
    make_link("mine/tree/victim", at("precious"));
    front_end_.answers = {Answer::kYes};
    EXPECT_TRUE(run({"tree"}).failures().empty());
    EXPECT_EQ(front_end_.questions.size(), 1U);
    EXPECT_EQ(names_in(mine_ + "/tree"), (Names{"new", "old", "victim"}));
    EXPECT_EQ(content(mine_ + "/tree/victim"), "v");
    EXPECT_EQ(content(at("precious")), "p");
}

TEST_F(Copying, TwoSourcesOfOneNameAreAClash) {
    make_file("served/1/a", "1");
    make_file("served/2/a", "2");
    front_end_.answers = {Answer::kNo};
    run({"1/a", "2/a"});
    EXPECT_EQ(front_end_.questions.size(), 1U);
    EXPECT_EQ(content(mine_ + "/a"), "1");
}

TEST_F(Copying, FailuresAreCollectedAndTheRestGoesOn) {
    make_file("served/file", "f");
    make_file("mine/file/inner", "i");
    make_file("served/folder/x", "x");
    make_file("mine/folder", "i am a file");
    put(served_ + "/" + kBadName, "b");
    make_file("served/good", "g");
    ASSERT_EQ(mkfifo((served_ + "/pipe").c_str(), 0600), 0);
    EXPECT_TRUE(run({"file", "folder", kBadName, "pipe", "missing", "good"}).anything_done());
    EXPECT_EQ(failed_items(), (Names{"/file", "/folder", std::string("/") + kBadName, "/pipe", "/missing"}));
    EXPECT_EQ(content(mine_ + "/good"), "g");
    EXPECT_EQ(content(mine_ + "/folder"), "i am a file");
    EXPECT_TRUE(front_end_.questions.empty());
}

TEST_F(Copying, NothingOntoOrIntoItself) {
    make_file("served/tree/sub/file", "f");
    mine_ = served_;
    run({"tree"}, "tree/sub");
    run({"tree"});
    EXPECT_EQ(failed_items(), Names{"/tree"});
    run({"tree/sub/file"}, "tree/sub");
    EXPECT_EQ(failed_items(), Names{"/tree/sub/file"});
    ASSERT_EQ(link((served_ + "/tree/sub/file").c_str(), (at("mine/file")).c_str()), 0);
    mine_ = at("mine");
    run({"tree/sub/file"});
    EXPECT_EQ(failed_items(), Names{"/tree/sub/file"});
    EXPECT_EQ(names_in(served_ + "/tree/sub"), Names{"file"});
    EXPECT_EQ(content(served_ + "/tree/sub/file"), "f");
    EXPECT_TRUE(front_end_.questions.empty());
}

TEST_F(Copying, CancelInsideABigFileLeavesNoHalfFile) {
    make_file("served/1 small", "s");
    // Sparse, so that it would take long to copy and none to make.
    make_file("served/2 big", "");
    ASSERT_EQ(truncate((served_ + "/2 big").c_str(), 64LL << 30U), 0);
    make_file("mine/2 big", "old");
    front_end_.answers = {Answer::kYes};
    front_end_.is_cancelled = [this] { return front_end_.polls > 3; };
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(run({"1 small", "2 big"}).failures().empty());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(names_in(mine_), (Names{"1 small", "2 big"}));
    EXPECT_EQ(content(mine_ + "/2 big"), "old");
    EXPECT_EQ(front_end_.polls, 4);
    EXPECT_GE(front_end_.reports.size(), 2U);
    EXPECT_LE(front_end_.reports.size(), 6U);
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
