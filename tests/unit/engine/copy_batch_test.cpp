#include "engine/copy_batch.h"

#include <linux/magic.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/vfs.h>

#include "engine/names.h"
#include "engine_sandbox.h"

namespace relay_hub::engine {
namespace {

constexpr char kBadName[] = "bad\xff";
int linkat_error = 0;
int futimens_error = 0;
long shown_file_system = 0;
int syncs = 0;
std::function<void()> before_moving_bytes;

class Copying : public EngineSandbox {
  protected:
    // From the served folder into mine.
    CopyBatch& run(const std::vector<std::string>& sources, Purpose purpose = Purpose::kCopy) {
        const auto show = [](const std::string& path) { return "/" + path; };
        batch_ = std::make_unique<CopyBatch>(
            CopySide{*remote_, show}, CopySide{*local_, show},
            [](const std::string& name) { return can_travel(Style::kWindows, name); }, front_end_);
        std::vector<CopyItem> items;
        items.reserve(sources.size());
        for (const std::string& source : sources)
            items.push_back({source, mine_.substr(1)});
        batch_->run(items, purpose);
        return *batch_;
    }
    void make_file_of(const std::string& name, const std::string& text, timespec modified) {
        const timespec times[2] = {{1'600'000'000, 0}, modified};
        utimensat(AT_FDCWD, make_file(name, text).c_str(), times, 0);
    }
    Names failed_items() {
        Names items;
        for (const Failure& failure : batch_->failures().kept())
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
    front_end_.answers = {OverwriteAnswer::kYes};
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

// They are flushed together, but not where a program holds the data: only a file's own sync says how it went.
TEST_F(Copying, ManyFilesWithFewDescriptors) {
    for (int number = 0; number < 100; ++number)
        make_file("served/many/" + std::to_string(number), "x");
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
    const rlimit few{48, usual.rlim_max};
    for (const long file_system : {TMPFS_MAGIC, FUSE_SUPER_MAGIC}) {
        mine_ = make_folder("mine" + std::to_string(file_system));
        shown_file_system = file_system;
        syncs = 0;
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
        run({"many"});
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
        EXPECT_EQ(syncs >= 100, file_system == FUSE_SUPER_MAGIC) << syncs;
        EXPECT_EQ(failed_items(), Names{});
        EXPECT_EQ(names_in(mine_ + "/many").size(), 100U);
    }
    shown_file_system = 0;
}

TEST_F(Copying, WhereAFileCannotGetItsNameByALink) {
    const std::string text(300000, 'x');
    make_file_of("served/tree/new", text, {1'500'000'000, 0});
    ASSERT_EQ(chmod(at("served/tree/new").c_str(), 0640), 0);
    linkat_error = EPERM;
    run({"tree"});
    linkat_error = 0;
    EXPECT_EQ(failed_items(), Names{});
    EXPECT_EQ(names_in(mine_ + "/tree"), Names{"new"});
    EXPECT_EQ(content(mine_ + "/tree/new"), text);
    EXPECT_EQ(mode_of(mine_ + "/tree/new"), 0640U);
    EXPECT_EQ(record(mine_ + "/tree/new").st_mtim.tv_sec, 1'500'000'000);
}

TEST_F(Copying, WhatKeepsNoTimesIsThereAndIsNamed) {
    make_file_of("served/tree/new", "new", {1'500'000'000, 0});
    for (const int error : {EPERM, EIO}) {
        futimens_error = error;
        run({"tree"});
        futimens_error = 0;
        Names named;
        for (const Failure& loss : batch_->lost_attributes().kept())
            named.push_back(loss.item);
        EXPECT_EQ(named, error == EPERM ? (Names{mine_ + "/tree/new", mine_ + "/tree"}) : Names{});
        EXPECT_EQ(failed_items(), error == EPERM ? Names{} : (Names{mine_ + "/tree/new", mine_ + "/tree"}));
        EXPECT_EQ(std::filesystem::remove_all(mine_ + "/tree"), error == EPERM ? 2U : 1U);
    }
}

TEST_F(Copying, WhatItMadeIsNotEnteredThroughAMount) {
    const std::string target = make_folder("mine/tree");
    for (const char* name : {"served/tree/1", "served/tree/2"})
        if (mount(target.c_str(), make_folder(name).c_str(), nullptr, MS_BIND, nullptr) != 0)
            GTEST_SKIP() << "mounting is refused";
    // So much that what comes after it is listed again when the copy is there.
    make_folder("served/much");
    for (int number = 0; number < 65000; ++number)
        make_link("served/much/" + std::string(240, 'n') + std::to_string(number), "x");
    make_file("mine/much");
    run({"much", "tree"});
    for (const char* name : {"served/tree/1", "served/tree/2"})
        EXPECT_EQ(umount(at(name).c_str()), 0);
    ASSERT_EQ(failed_items().size(), 2U);
    EXPECT_TRUE(failed_items().back() == "/tree/2/1" || failed_items().back() == "/tree/1/2");
}

TEST_F(Copying, WhatIsThereIsPassedOverAndTheRestIsAskedAboutOnce) {
    const timespec at_the_source{1'600'000'000, 123'456'789};
    const std::tuple<std::string, const char*, timespec> cases[] = {
        {"same", "ABC", at_the_source},        {"same as far as seconds go", "ABC", {1'600'000'000, 0}},
        {"other size", "ABCD", at_the_source}, {"other time", "ABC", {1'600'000'001, 0}},
        {"later", "ABC", {1'700'000'000, 0}},
    };
    for (const auto& [name, present, modified] : cases) {
        make_file_of("served/tree/" + name, "abc", at_the_source);
        make_file_of("mine/tree/" + name, present, modified);
    }
    make_link("served/tree/link", "somewhere");
    make_link("mine/tree/link", "somewhere");
    make_file("served/tree/new", "n");
    for (const OverwriteAnswer answer : {OverwriteAnswer::kNoToAll, OverwriteAnswer::kReplaceAll}) {
        front_end_.questions.clear();
        front_end_.answers = {answer};
        EXPECT_TRUE(run({"tree"}).failures().empty());
        EXPECT_EQ(front_end_.questions.size(), 1U);
        for (const auto& [name, present, modified] : cases) {
            const bool replaced = answer == OverwriteAnswer::kReplaceAll && !name.starts_with("same");
            EXPECT_EQ(content(mine_ + "/tree/" + name), replaced ? "abc" : present) << name;
        }
        EXPECT_EQ(batch_->left(), 0U);
    }
    front_end_.questions.clear();
    EXPECT_TRUE(run({"tree"}).failures().empty());
    EXPECT_TRUE(front_end_.questions.empty());
}

TEST_F(Copying, OfAMoveWhatDidNotArriveWholeIsTold) {
    // What stands at the target is of the same time; null for nothing.
    const std::tuple<std::string, const char*, bool> cases[] = {{"new", nullptr, true},
                                                                {"same", "abc", true},
                                                                {"looks the same", "ABC", false},
                                                                {"tree", nullptr, false},
                                                                {"tree2", nullptr, true}};
    Names sources;
    std::vector<bool> arriving;
    for (const auto& [name, present, arrives] : cases) {
        make_file_of("served/" + name + (name.starts_with("tree") ? "/a/b" : ""), "abc", {1'600'000'000, 0});
        if (present != nullptr)
            make_file_of("mine/" + name, present, {1'600'000'000, 0});
        sources.push_back(name);
        arriving.push_back(arrives);
    }
    ASSERT_EQ(mkfifo(at("served/tree/pipe").c_str(), 0600), 0);
    front_end_.answers = {OverwriteAnswer::kNo};
    run(sources, Purpose::kMove);
    EXPECT_EQ(batch_->arrived(), arriving);
    EXPECT_EQ(front_end_.questions.size(), 1U);
    front_end_.questions.clear();
    // While the user thinks about the question.
    front_end_.on_question = [&] { make_file("served/new", "xyz"); };
    run(sources, Purpose::kMove);
    EXPECT_FALSE(batch_->arrived()[0]);
    EXPECT_TRUE(batch_->arrived()[1]);
}

TEST_F(Copying, AFileThatChangesMeanwhileIsNotCopied) {
    make_file("served/log", std::string(2000000, 'x'));
    before_moving_bytes = [&] { put(at("served/log"), "y"); };
    run({"log"});
    before_moving_bytes = nullptr;
    EXPECT_EQ(failed_items(), Names{"/log"});
    EXPECT_EQ(batch_->failures().kept().front().reason, "IDS_REASON_CHANGED_IN_COPY");
    EXPECT_EQ(names_in(mine_), Names{});
}

TEST_F(Copying, AQuestionThatNobodyAnswersEndsTheCopyAndSaysWhatIsLeft) {
    for (const char* name : {"1", "2", "3"}) {
        make_file(std::string("served/tree/") + name, "new");
        make_file(std::string("mine/tree/") + name, "here");
    }
    run({"tree"});
    EXPECT_TRUE(batch_->unanswered().starts_with(mine_ + "/tree/"));
    EXPECT_EQ(batch_->left(), 3U);
    EXPECT_EQ(batch_->total(), 4U);
    EXPECT_EQ(front_end_.questions.size(), 1U);
}

TEST_F(Copying, ACancelAfterTheAnswerComesBeforeEvenTheSmallestFile) {
    const std::string here = make_file("mine/file", "here");
    make_file("served/file", "new");
    front_end_.answers = {OverwriteAnswer::kYes};
    front_end_.cancels_after_question = true;
    run({"file"});
    EXPECT_EQ(content(here), "here");
}

TEST_F(Copying, ManyItemsOfOneFolderAndTwoOfOneName) {
    Names sources;
    for (int number = 0; number < 20; ++number)
        sources.push_back("set/" + std::to_string(number));
    for (const std::string& name : sources)
        make_file("served/" + name, "x");
    make_file("served/other/7", "other");
    sources.emplace_back("other/7");
    front_end_.answers = {OverwriteAnswer::kYes};
    run(sources);
    EXPECT_EQ(failed_items(), Names{});
    EXPECT_EQ(names_in(mine_).size(), 20U);
    EXPECT_EQ(front_end_.questions.size(), 1U);
    EXPECT_EQ(content(mine_ + "/7"), "other");
}

TEST_F(Copying, WithoutTheAccessListTheGroupGetsNoMore) {
    if (!give_access_list(make_folder("served/team")))
        GTEST_SKIP() << "no access control lists here";
    EXPECT_TRUE(run({"team"}).failures().empty());
    EXPECT_EQ(mode_of(mine_ + "/team"), 0700U);
}

TEST_F(Copying, HolesStayHoles) {
    const std::string path = make_file("served/sparse", "");
    const FileDescriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC));
    constexpr off_t kSize = 64L << 20;
    ASSERT_EQ(pwrite(file.get(), "middle", 6, kSize / 2), 6);
    ASSERT_EQ(ftruncate(file.get(), kSize), 0);
    run({"sparse"});
    EXPECT_EQ(failed_items(), Names{});
    EXPECT_EQ(record(mine_ + "/sparse").st_size, kSize);
    EXPECT_LT(record(mine_ + "/sparse").st_blocks, 4096);
    EXPECT_EQ(content(mine_ + "/sparse"), content(path));
}

TEST_F(Copying, ADeepTreeInBoundedTime) {
    constexpr int kLevels = 3000;
    FileDescriptor folder(open(served_.c_str(), O_RDONLY | O_CLOEXEC));
    for (int level = 0; level < kLevels; ++level) {
        ASSERT_EQ(mkdirat(folder.get(), "deeper", 0755), 0);
        folder.reset(openat(folder.get(), "deeper", O_RDONLY | O_CLOEXEC));
    }
    run({"deeper"});
    EXPECT_EQ(failed_items(), Names{});
    EXPECT_EQ(batch_->total(), static_cast<std::uint64_t>(kLevels));
    std::string failed;
    for (FolderFileSystem* files : {remote_.get(), local_.get()})
        EXPECT_FALSE(files->remove(files == remote_.get() ? "deeper" : mine_.substr(1) + "/deeper",
                                   EntryKind::kFolder, failed));
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
extern "C" ssize_t copy_file_range(int from, off64_t* from_at, int to, off64_t* to_at, std::size_t size,
                                   unsigned flags) {
    if (relay_hub::engine::before_moving_bytes)
        relay_hub::engine::before_moving_bytes();
    return syscall(SYS_copy_file_range, from, from_at, to, to_at, size, flags);
}
extern "C" int fstatfs(int fd, struct statfs* status) noexcept {
    const auto result = static_cast<int>(syscall(SYS_fstatfs, fd, status));
    if (relay_hub::engine::shown_file_system != 0)
        status->f_type = relay_hub::engine::shown_file_system;
    return result;
}
extern "C" int fsync(int fd) {
    ++relay_hub::engine::syncs;
    return static_cast<int>(syscall(SYS_fsync, fd));
}
extern "C" int futimens(int fd, const timespec* times) noexcept {
    errno = relay_hub::engine::futimens_error;
    return errno != 0 ? -1 : static_cast<int>(syscall(SYS_utimensat, fd, nullptr, times, 0));
}
extern "C" int linkat(int from_folder, const char* from, int to_folder, const char* to, int flags) noexcept {
    errno = relay_hub::engine::linkat_error;
    return errno != 0 ? -1 : static_cast<int>(syscall(SYS_linkat, from_folder, from, to_folder, to, flags));
}
