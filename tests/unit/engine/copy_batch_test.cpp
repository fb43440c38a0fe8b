#include "engine/copy_batch.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "engine/names.h"
#include "engine_sandbox.h"

namespace relay_hub::engine {
namespace {

constexpr char kBadName[] = "bad\xff";
int linkat_error = 0;

class Copying : public EngineSandbox {
  protected:
    // From the served folder into mine.
    CopyBatch& run(const std::vector<std::string>& sources) {
        const auto show = [](const std::string& path) { return "/" + path; };
        batch_ = std::make_unique<CopyBatch>(
            CopySide{*remote_, show}, CopySide{*local_, show},
            [](const std::string& name) { return can_travel(Style::kWindows, name); }, front_end_);
        std::vector<CopyItem> items;
        items.reserve(sources.size());
        for (const std::string& source : sources)
            items.push_back({source, mine_.substr(1)});
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

TEST_F(Copying, ManyFilesWithFewDescriptors) {
    for (int number = 0; number < 100; ++number)
        make_file("served/many/" + std::to_string(number), "x");
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
    const rlimit few{48, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    run({"many"});
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_EQ(failed_items(), Names{});
    EXPECT_EQ(names_in(mine_ + "/many").size(), 100U);
}

TEST_F(Copying, WhereAFileCannotGetItsNameByALink) {
    const std::string text(300000, 'x');
    make_file("served/tree/new", text);
    ASSERT_EQ(chmod(at("served/tree/new").c_str(), 0640), 0);
    const timespec times[2] = {{1'600'000'000, 0}, {1'500'000'000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, at("served/tree/new").c_str(), times, 0), 0);
    linkat_error = EPERM;
    run({"tree"});
    linkat_error = 0;
    EXPECT_EQ(failed_items(), Names{});
    EXPECT_EQ(names_in(mine_ + "/tree"), Names{"new"});
    EXPECT_EQ(content(mine_ + "/tree/new"), text);
    struct stat status {};
    ASSERT_EQ(stat((mine_ + "/tree/new").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'500'000'000);
}

TEST_F(Copying, NothingOntoOrIntoItself) {
    make_file("served/tree/sub/file", "f");
    ASSERT_EQ(link(at("served/tree/sub/file").c_str(), at("mine/file").c_str()), 0);
    const std::pair<std::string, std::string> cases[] = {{"tree", "served/tree/sub"},
                                                         {"tree", "served"},
                                                         {"tree/sub/file", "served/tree/sub"},
                                                         {"tree/sub/file", "mine"}};
    for (const auto& [source, target] : cases) {
        mine_ = at(target);
        run({source});
        EXPECT_EQ(failed_items(), Names{"/" + source}) << target;
    }
    EXPECT_EQ(names_in(at("served/tree/sub")), Names{"file"});
    EXPECT_EQ(content(at("served/tree/sub/file")), "f");
    EXPECT_TRUE(front_end_.questions.empty());
}

}  // namespace
}  // namespace relay_hub::engine

// In the place of the C library's.
extern "C" int linkat(int from_folder, const char* from, int to_folder, const char* to, int flags) noexcept {
    errno = relay_hub::engine::linkat_error;
    return errno != 0 ? -1 : static_cast<int>(syscall(SYS_linkat, from_folder, from, to_folder, to, flags));
}
