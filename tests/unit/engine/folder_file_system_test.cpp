#include "engine/folder/folder_file_system.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cstdio>

#include "base/diagnostics.h"
#include "engine/pending_writes.h"
#include "engine/same_folder.h"
#include "engine_sandbox.h"

namespace relay_hub::engine {
namespace {

class FolderFiles : public EngineSandbox {};

TEST_F(FolderFiles, NoPathLeavesTheTree) {
    make_file("mine/secret", "x");
    make_file("served/inside/file", "y");
    make_link("served/root", "/");
    make_link("served/up", "../mine");
    make_link("served/secret", mine_ + "/secret");
    make_link("served/door", "inside");
    make_link("served/sneaky", "door/../..");
    for (const char* path : {"root", "up", "..", "inside/../..", "sneaky", "root/etc", "up/secret"}) {
        Listing listing;
        std::unique_ptr<FileSource> source;
        std::unique_ptr<FileSink> sink;
        EXPECT_NE(remote_->list(path, listing), 0) << path;
        EXPECT_NE(remote_->open_source(std::string(path) + "/secret", {}, source), 0) << path;
        EXPECT_NE(remote_->open_sink(std::string(path) + "/new", {}, false, sink), 0) << path;
        EXPECT_NE(remote_->make_folder(std::string(path) + "/new", 0777), 0) << path;
        EXPECT_NE(remote_->rename("inside", std::string(path) + "/stolen"), 0) << path;
        EXPECT_NE(remote_->move_to_trash(std::string(path) + "/secret"), 0) << path;
    }
    std::unique_ptr<FileSource> source;
    EXPECT_NE(remote_->open_source("secret", {}, source), 0);
    EXPECT_EQ(names_in(mine_), Names{"secret"});

    Listing listing;
    EXPECT_EQ(remote_->list("door", listing), 0);
    listing = {};
    ASSERT_EQ(remote_->list("", listing), 0);
    for (const Entry& entry : listing.entries)
        EXPECT_EQ(entry.opens_as_folder, entry.name == "inside" || entry.name == "door") << entry.name;
}

// From now on the system lacks openat2, as an old kernel does.
void refuse_openat2() {
    sock_filter program[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                             BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
                             BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
                             BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog filter{std::size(program), program};
    ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) | prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter),
              0);
}

// In a process of its own, because what the system has is asked once.
TEST_F(FolderFiles, NoLinkIsFollowedWhereTheSystemCannotHoldItInTheTree) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    make_file("mine/secret", "x");
    make_file("served/inside/file", "y");
    make_link("served/up", "../mine");
    make_link("served/door", "inside");
    const auto listed = [&] {
        refuse_openat2();
        std::string paths;
        for (const char* path : {"inside", "door", "up", "..", "inside/../..", "../mine"}) {
            Listing listing;
            paths += remote_->list(path, listing) == 0 ? path : "-";
        }
        std::fputs(paths.c_str(), stderr);
        std::filesystem::remove_all(at());
        _exit(0);
    };
    EXPECT_EXIT(listed(), testing::ExitedWithCode(0), "^inside-----$");
}

TEST_F(FolderFiles, TrashKeepsEveryItemWithItsOrigin) {
    const std::string trash = served_ + "/.Trash-" + std::to_string(geteuid());
    put(trash + "/files/a b.2", "already there, without a note");
    for (const char* content : {"1", "2", "3"}) {
        make_file("served/sub/a b", content);
        ASSERT_EQ(remote_->move_to_trash("sub/a b"), 0);
    }
    EXPECT_EQ(content(trash + "/files/a b"), "1");
    EXPECT_EQ(content(trash + "/files/a b.3"), "2");
    EXPECT_EQ(content(trash + "/files/a b.4"), "3");
    EXPECT_TRUE(
        content(trash + "/info/a b.trashinfo").starts_with("[Trash Info]\nPath=sub/a%20b\nDeletionDate=2"));
    EXPECT_FALSE(exists(trash + "/info/a b.2.trashinfo"));
    EXPECT_EQ(remote_->move_to_trash("sub/missing"), ENOENT);
    EXPECT_EQ(remote_->move_to_trash(".Trash-" + std::to_string(geteuid()) + "/files/a b"), EINVAL);
    EXPECT_EQ(names_in(trash + "/info").size(), 3U);
}

TEST_F(FolderFiles, AnUncommittedFileLeavesNothing) {
    make_file("served/old", "old");
    std::unique_ptr<FileSink> sink;
    for (const bool replace : {false, true}) {
        ASSERT_EQ(remote_->open_sink(replace ? "old" : "new", {}, replace, sink), 0);
        ASSERT_EQ(sink->write("x", 1), 0);
        Listing listed;
        EXPECT_EQ(remote_->list("", listed), 0);
        EXPECT_EQ(listed.entries.size(), 1U);
        sink.reset();
        EXPECT_EQ(names_in(served_), Names{"old"});
        EXPECT_EQ(content(served_ + "/old"), "old");
    }

    // What appeared meanwhile is not overwritten, and each is told.
    Names failed;
    const auto never = [](const auto&, const auto&) { FAIL(); };
    const auto fail = [&failed](const std::string& from, const std::string& to, const Error& error) {
        failed.push_back(from + " to " + to + ": " + relay_hub::error_text(error.number));
    };
    PendingWrites writes(*remote_, {fail, never, never});
    for (const std::string name : {"a", "b"}) {
        ASSERT_EQ(remote_->open_sink(name, {}, false, sink), 0);
        make_file("served/" + name, "other");
        writes.add_file(std::move(sink), "from/" + name, "", 1);
    }
    writes.finish();
    EXPECT_EQ(failed, (Names{"from/a to a: File exists", "from/b to b: File exists"}));
    EXPECT_EQ(content(served_ + "/a") + content(served_ + "/b"), "otherother");
    EXPECT_EQ(names_in(served_), (Names{"a", "b", "old"}));
}

TEST_F(FolderFiles, SpecialBitsStayOnlyWhereOwnerAndGroupAreTheSources) {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    const std::pair<std::optional<FileOwner>, mode_t> cases[] = {
        {{{user, group}}, 07755}, {{{user + 1, group}}, 0755}, {{{user, group + 1}}, 0755}, {{}, 0755}};
    for (const auto& [owner, kept] : cases) {
        Entry entry;
        entry.mode = 07755;
        entry.owner = owner;
        const std::string path = make_folder("served/made");
        EXPECT_EQ(remote_->set_attributes({{{"made", entry}}}).front(), 0);
        EXPECT_EQ(mode_of(path), kept);
    }
    make_file("served/program", "x", 06755);
    Entry entry;
    ASSERT_EQ(remote_->stat("program", entry), 0);
    EXPECT_EQ(entry.owner, (FileOwner{user, group}));
    EXPECT_EQ(entry.mode, 06755U);
}

TEST_F(FolderFiles, AFolderKeptOpenIsForgottenAfterwards) {
    make_file("served/folder/file", "1");
    Entry entry;
    remote_->keep_folder_open(true);
    ASSERT_EQ(remote_->stat("folder/file", entry), 0);
    std::filesystem::rename(at("served/folder"), at("served/moved"));
    EXPECT_EQ(remote_->stat("folder/file", entry), 0);
    remote_->keep_folder_open(false);
    EXPECT_EQ(remote_->stat("folder/file", entry), ENOENT);
}

// As while another program sweeps the folder.
class SweptFolder : public FolderFileSystem {
  public:
    using FolderFileSystem::FolderFileSystem;
    Error stat(const std::string& path, Entry& entry) override {
        sweep(parent_path(path));
        return FolderFileSystem::stat(path, entry);
    }
};

TEST_F(FolderFiles, AreNotTakenForOthersBecauseOfASweep) {
    SweptFolder seen(TreeRoot(FileDescriptor(::open("/", O_PATH | O_CLOEXEC)), Reach::kWholeMachine),
                     Style::kPosix);
    bool same = false;
    EXPECT_EQ(find_whether_same({*local_, mine_.substr(1)}, {seen, mine_.substr(1)}, same).number, ENOENT);
    EXPECT_EQ(names_in(mine_), test::Names{});
}

}  // namespace
}  // namespace relay_hub::engine
