// The tree behind a real SFTP server on a pair of pipes.
#include "engine/sftp/sftp_file_system.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <map>
#include <random>

#include "engine/copy_batch.h"
#include "engine/sftp/part_name.h"
#include "engine/sftp/remote_entry.h"
#include "lying_server.h"
#include "unit/engine/engine_sandbox.h"

namespace relay_hub::engine::sftp {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class SftpTree : public testing::Test, protected test::Sandbox {
  protected:
    SftpTree() {
        test::Pipe up, down;
        server_ = fork();
        if (server_ == 0) {
            dup2(up.reader.get(), STDIN_FILENO);
            dup2(down.writer.get(), STDOUT_FILENO);
            setenv("HOME", home_.c_str(), 1);
            // It has few handles, and does not say so.
            const rlimit few{24, 24};
            setrlimit(RLIMIT_NOFILE, &few);
            execl("/usr/lib/openssh/sftp-server", "sftp-server", "-d", home_.c_str(), "-P", "limits",
                  nullptr);
            _exit(127);
        }
        session_ = std::make_shared<Session>(channel_on(up, down));
        learn_facts(*session_);
    }
    ~SftpTree() override {
        session_->connection().end("over");
        kill(server_, SIGKILL);
        waitpid(server_, nullptr, 0);
    }

    std::string inner(const std::string& name) { return inner_of(home_ + "/" + name); }
    std::string real(const std::string& name) { return home_ + "/" + name; }

    static Entry file_entry(std::uint64_t size) {
        Entry entry;
        entry.size = size;
        entry.mode = 0640;
        entry.accessed.tv_sec = 1500000000;
        entry.modified.tv_sec = 1600000000;
        return entry;
    }

    Error write_file(const std::string& name, const std::string& content, bool replace) {
        std::unique_ptr<FileSink> sink;
        if (Error error = files_.open_sink(inner(name), file_entry(content.size()), replace, sink); error)
            return error;
        for (std::size_t at = 0; at < content.size(); at += 100000) {
            const std::string piece = content.substr(at, 100000);
            if (Error error = sink->write(piece.data(), piece.size()); error)
                return error;
            sink->start_flush();
        }
        sinks_.push_back(std::move(sink));
        return {};
    }
    std::vector<Error> finish(int source = -1) {
        Nothing nothing;
        nothing.source = source;
        for (const auto& sink : sinks_)
            (void)sink->finish(nothing);
        auto results = files_.commit(sinks_, true);
        sinks_.clear();
        return results;
    }

    std::string read_file(const std::string& name, std::uint64_t expected_size) {
        std::unique_ptr<FileSource> source;
        if (Error error = files_.open_source(inner(name), file_entry(expected_size), source); error)
            return "error " + std::to_string(error.number);
        std::string content;
        std::vector<char> buffer(100000);
        std::size_t got = 1;
        while (got > 0) {
            EXPECT_FALSE(source->read(buffer.data(), buffer.size(), got));
            content.append(buffer.data(), got);
        }
        return content;
    }

    const std::string home_ = make_folder("home");
    pid_t server_ = -1;
    std::shared_ptr<Session> session_;
    SftpFileSystem files_{[this] { return session_; }, std::nullopt};
    std::vector<std::unique_ptr<FileSink>> sinks_;
};

std::string noise(std::size_t size) {
    std::string text(size, '\0');
    std::generate(text.begin(), text.end(), std::minstd_rand());
    return text;
}

TEST_F(SftpTree, WritesAndReadsFilesOfEverySize) {
    const std::vector<std::size_t> sizes{0, 1, 4096, 65536, 65537, 131072, 1048577, 9000000};
    for (const std::size_t size : sizes)
        ASSERT_FALSE(write_file("f" + std::to_string(size), noise(size), false));
    EXPECT_EQ(test::names_in(home_).size(), 4U) << "the large ones, under temporary names";
    for (const Error& error : finish())
        EXPECT_FALSE(error) << error.text;
    for (const std::size_t size : sizes) {
        const std::string name = "f" + std::to_string(size);
        EXPECT_EQ(test::content(real(name)), noise(size)) << size;
        // Whatever the expected size was, the content counts.
        for (const std::size_t expected : {size, size / 2, size + 100000, std::size_t{0}})
            EXPECT_EQ(read_file(name, expected), noise(size)) << size << " as " << expected;
        EXPECT_EQ(test::mode_of(real(name)), 0640U);
        EXPECT_EQ(test::record(real(name)).st_mtime, 1600000000);
    }
    EXPECT_EQ(test::names_in(home_).size(), sizes.size());
    EXPECT_FALSE(files_.settle({inner("")}));
}

TEST_F(SftpTree, ReplacesOnlyWhereItMay) {
    test::put(real("old"), "old");
    test::put(real("kept"), "old");
    ASSERT_FALSE(write_file("old", "new", true));
    ASSERT_FALSE(write_file("kept", "new", false));
    ASSERT_FALSE(write_file("none/x", "new", false));
    ASSERT_FALSE(write_file("dropped", noise(1000000), false));
    sinks_.pop_back();
    const auto results = finish();
    EXPECT_FALSE(results[0]);
    EXPECT_EQ(results[1].number, EEXIST);
    EXPECT_EQ(results[2].number, ENOENT);
    EXPECT_EQ(test::content(real("old")), "new");
    EXPECT_EQ(test::content(real("kept")), "old");
    session_->connection().drain(std::chrono::seconds(5));
    EXPECT_THAT(test::names_in(home_), UnorderedElementsAre("old", "kept"));
}

TEST_F(SftpTree, SweepsWhatWasLeftSinceTheLastSweep) {
    Listing listing;
    EXPECT_FALSE(files_.list(inner(""), listing));
    for (int round = 0; round < 3; ++round) {
        files_.sweep(inner(""));
        session_->connection().drain(std::chrono::seconds(5));
        EXPECT_EQ(test::names_in(home_).size(), 0U) << round;
        test::put(real(files_.part_name()), "left over");
    }
}

TEST_F(SftpTree, TellsOfATimeThatTheProtocolCannotHold) {
    Entry entry = file_entry(0);
    entry.modified.tv_sec = -5;
    ASSERT_FALSE(files_.open_sink(inner("old"), entry, false, sinks_.emplace_back()));
    EXPECT_TRUE(finish().front().attributes_only);
    EXPECT_EQ(test::record(real("old")).st_mtime, 0);
}

TEST_F(SftpTree, WithoutTheAccessListTheGroupGetsNoMore) {
    const std::string shared = make_file("shared");
    if (!test::give_access_list(shared))
        GTEST_SKIP() << "no access control lists here";
    const FileDescriptor source(::open(shared.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(file_entry(0).mode, 0640U);
    for (const std::size_t size : {std::size_t{10}, std::size_t{300000}}) {
        ASSERT_FALSE(write_file("copy", std::string(size, 'x'), true));
        EXPECT_EQ(finish(source.get()), std::vector<Error>{Error()});
        EXPECT_EQ(test::mode_of(real("copy")), 0600U) << size;
    }
}

TEST_F(SftpTree, TellsOfAFileThatChangesWhileItIsRead) {
    constexpr std::size_t kSize = 6000000;
    const std::pair<int, std::function<void()>> cases[] = {
        {0, [] {}},
        {ESTALE, [&] { fs::resize_file(real("f"), kSize / 2); }},
        {ESTALE, [&] { std::ofstream(real("f"), std::ios::app) << "more"; }},
        {ESTALE, [&] { std::fstream(real("f"), std::ios::in | std::ios::out) << "other"; }},
    };
    for (const auto& [number, change] : cases) {
        ASSERT_FALSE(write_file("f", noise(kSize), true));
        EXPECT_FALSE(finish().front());
        std::unique_ptr<FileSource> source;
        ASSERT_FALSE(files_.open_source(inner("f"), file_entry(kSize), source));
        std::vector<char> buffer(100000);
        std::size_t got = 1;
        ASSERT_FALSE(source->read(buffer.data(), 1, got));
        change();
        Error error;
        while (!error && got > 0)
            error = source->read(buffer.data(), buffer.size(), got);
        EXPECT_EQ(error.number, number);
    }
}

TEST_F(SftpTree, ReadsAheadWhatComesNext) {
    std::vector<FileToRead> next;
    for (int i = 0; i < 200; ++i) {
        const std::string name = "f" + std::to_string(i);
        test::put(real(name), name);
        next.push_back({inner(name), file_entry(name.size())});
    }
    fs::remove(real("f7"));
    files_.read_ahead(next);
    for (int i = 0; i < 200; i += i == 10 ? 40 : 1) {
        const std::string name = "f" + std::to_string(i);
        EXPECT_EQ(read_file(name, name.size()), i == 7 ? "error " + std::to_string(ENOENT) : name);
    }
    files_.read_ahead({});
    EXPECT_EQ(read_file("f3", 2), "f3");
}

TEST_F(SftpTree, ListsWhatIsThere) {
    for (int i = 0; i < 1234; ++i)
        test::put(real("file " + std::to_string(i)), "x");
    fs::create_directory(real("sub"));
    fs::create_symlink("sub", real("to folder"));
    fs::create_symlink("file 1", real("to file"));
    fs::create_symlink("nowhere", real("to nothing"));
    fs::create_symlink("loop", real("loop"));
    ASSERT_EQ(mkfifo(real("fifo").c_str(), 0600), 0);
    test::put(real(PartName().text()), "x");
    Listing listing;
    ASSERT_FALSE(files_.list(inner(""), listing));
    std::map<std::string, Entry> found;
    for (const Entry& entry : listing.entries)
        found[entry.name] = entry;
    EXPECT_EQ(found.size(), 1234U + 6U);
    EXPECT_TRUE(found["to folder"].opens_as_folder);
    EXPECT_FALSE(found["to file"].opens_as_folder);
    EXPECT_FALSE(found["loop"].opens_as_folder);
    EXPECT_EQ(found["to nothing"].kind, EntryKind::kLink);
    EXPECT_EQ(found["fifo"].kind, EntryKind::kSpecial);
    EXPECT_EQ(found["sub"].kind, EntryKind::kFolder);
    EXPECT_EQ(files_.list(inner("none"), listing).number, ENOENT);
    std::string target;
    EXPECT_FALSE(files_.read_link(inner("to nothing"), target));
    EXPECT_EQ(target, "nowhere");
}

TEST_F(SftpTree, ChangesNamesLinksAndFolders) {
    EXPECT_FALSE(files_.make_folder(inner("new"), 0755));
    EXPECT_EQ(files_.make_folder(inner("new"), 0755).number, EEXIST);
    EXPECT_FALSE(files_.make_link(inner("link"), "some where", file_entry(0), false));
    EXPECT_EQ(fs::read_symlink(real("link")), "some where");
    EXPECT_EQ(test::record(real("link")).st_mtime, 1600000000);
    EXPECT_EQ(files_.make_link(inner("link"), "other", file_entry(0), false).number, EEXIST);
    EXPECT_FALSE(files_.make_link(inner("link"), "other", file_entry(0), true));
    EXPECT_EQ(fs::read_symlink(real("link")), "other");
    fs::create_symlink("nowhere", real("dangling"));
    test::put(real("LINK"), "another");
    for (const char* taken : {"new", "dangling", "LINK"})
        EXPECT_EQ(files_.rename(inner("link"), inner(taken)).number, EEXIST) << taken;
    EXPECT_EQ(files_.rename(inner("none"), inner("x")).number, ENOENT);
    EXPECT_FALSE(files_.rename(inner("link"), inner("moved")));
    EXPECT_THAT(test::names_in(home_), UnorderedElementsAre("new", "moved", "dangling", "LINK"));
}

// As where the other computer's disk is mounted here: what is moved there from itself would only go to the
// trash.
TEST_F(SftpTree, IsKnownAgainInAMoveOntoItself) {
    make_file("home/file", "x");
    make_file("home/tree/file", "x");
    fs::copy(home_, make_folder("other"), fs::copy_options::recursive);
    const auto local = FolderFileSystem::open("/", Reach::kWholeMachine, Style::kPosix);
    const auto show = [](const std::string& path) { return "/" + path; };
    const CopySide sides[] = {{files_, show}, {*local, show}};
    PresetFrontEnd front_end;
    for (const auto& [down, folder] :
         {std::pair(false, "home"), {false, "other"}, {true, "home"}, {true, "other"}}) {
        // Where the times are the same nobody is asked.
        for (const std::string name : {"/file", "/tree/file"})
            fs::last_write_time(at(folder + name), fs::last_write_time(real("file")));
        CopyBatch batch(
            sides[down ? 0 : 1], sides[down ? 1 : 0], [](const auto&) { return true; }, front_end);
        const std::string from = inner_of(down ? home_ : at(folder));
        const std::string to = inner_of(down ? at(folder) : home_);
        batch.run({{from + "/file", to}, {from + "/tree", to}}, Purpose::kMove);
        EXPECT_EQ(batch.arrived(), std::vector<bool>(2, folder == std::string("other"))) << down << folder;
        EXPECT_EQ(names_in(at(folder)), (test::Names{"file", "tree"}));
    }
}

TEST_F(SftpTree, RemovesTreesAndNothingBehindLinks) {
    for (int folder = 0; folder < 30; ++folder) {
        fs::create_directories(real("tree/" + std::to_string(folder) + "/a/b/c"));
        for (int i = 0; i < 20; ++i)
            test::put(real("tree/" + std::to_string(folder) + "/a/f" + std::to_string(i)), "x");
    }
    test::put(real("kept/file"), "x");
    fs::create_symlink("../kept", real("tree/link"));
    fs::create_symlink("kept", real("link"));
    std::string failed;
    EXPECT_EQ(files_.remove(inner("tree"), EntryKind::kFile, failed).number, EISDIR);
    EXPECT_EQ(files_.remove(inner("kept/file"), EntryKind::kFolder, failed).number, ENOTDIR);
    EXPECT_FALSE(files_.remove(inner("tree"), EntryKind::kFolder, failed)) << failed;
    EXPECT_FALSE(files_.remove(inner("link"), EntryKind::kFolder, failed));
    EXPECT_TRUE(fs::exists(real("kept/file")));
    EXPECT_THAT(test::names_in(home_), UnorderedElementsAre("kept"));
}

TEST_F(SftpTree, MovesIntoTheHomeTrash) {
    fs::create_directories(real("data"));
    fs::create_symlink("data", real(".local"));
    for (int round = 0; round < 2; ++round) {
        test::put(real("a b"), "x");
        EXPECT_FALSE(files_.move_to_trash(inner("a b")));
    }
    EXPECT_THAT(test::names_in(real(".local/share/Trash/files")), UnorderedElementsAre("a b", "a b.2"));
    EXPECT_THAT(test::content(real(".local/share/Trash/info/a b.2.trashinfo")),
                HasSubstr("[Trash Info]\nPath=" + home_ + "/a%20b\nDeletionDate="));
    for (const char* never : {".local/share/Trash", ".local/share/Trash/files/a b", ".local"})
        EXPECT_EQ(files_.move_to_trash(inner(never)).number, EINVAL) << never;
    EXPECT_EQ(files_.move_to_trash(inner("none")).number, ENOENT);
    EXPECT_EQ(test::names_in(real(".local/share/Trash/info")).size(), 2U);
    std::string long_name;
    while (long_name.size() < 255)
        long_name += "\u540D";
    test::put(real(long_name), "x");
    EXPECT_FALSE(files_.move_to_trash(inner(long_name)));
    EXPECT_TRUE(fs::exists(real(".local/share/Trash/files/" + long_name.substr(0, 195) + "...")))
        << "cut at a character";
}

TEST_F(SftpTree, TellsPlaces) {
    fs::create_directories(real("Schreibtisch"));
    fs::create_directories(real("Documents"));
    test::put(real(".config/user-dirs.dirs"),
              "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\nXDG_DOCUMENTS_DIR=\"$HOME/gone\"\n");
    Places places;
    ASSERT_FALSE(files_.places(places));
    EXPECT_EQ(places.drives.front(), "");
    EXPECT_EQ(places.home, inner_of(home_));
    EXPECT_EQ(places.desktop, inner("Schreibtisch"));
    EXPECT_EQ(places.documents, std::nullopt);
    EXPECT_EQ(session_->learn_facts(real(".config/user-dirs.dirs")).number, ENOTDIR);
    ASSERT_FALSE(session_->learn_facts(real("Documents")));
    Places asked;
    ASSERT_FALSE(files_.places(asked));
    EXPECT_EQ(asked.drives.front(), inner("Documents"));
    std::uint64_t free = 0;
    EXPECT_FALSE(files_.free_space(inner(""), free));
    EXPECT_GT(free, 0U);
    EXPECT_EQ(files_.style(), Style::kPosix);
}

}  // namespace
}  // namespace relay_hub::engine::sftp
