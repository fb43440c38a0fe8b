// What needs no server: reasons, names of parts, folders of the user, fields of answers.
#include "engine/link_status.h"
#include "engine/sftp/cipher_choice.h"
#include "engine/sftp/link_failure.h"
#include "engine/sftp/packet.h"
#include "engine/sftp/part_name.h"
#include "engine/sftp/places_finder.h"
#include "engine/sftp/remote_entry.h"
#include "engine/sftp/ssh_process.h"
#include "pipe.h"
#include "sandbox.h"

namespace relay_hub::engine::sftp {
namespace {

TEST(SshArguments, PutTheAddressWhereNoOptionIsRead) {
    const auto arguments = ssh_arguments({{"me", "::1", "22", "/x"}, false, std::chrono::seconds(4), "a,b"});
    EXPECT_THAT(arguments, testing::Contains("-oCiphers=a,b"));
    const std::vector<std::string> end(arguments.end() - 6, arguments.end());
    EXPECT_EQ(end, (std::vector<std::string>{"-p", "22", "-s", "--", "me@::1", "sftp"}));
    EXPECT_NE(std::find(arguments.begin(), arguments.end(), "-oBatchMode=yes"), arguments.end());
}

TEST(CipherChoice, PutsAesFirstWhereNobodyChoseAndBothHaveIt) {
    const std::string usual = "ciphers chacha20,aes128-ctr,aes128-gcm@x,aes256-gcm@x";
    const std::string first = "aes128-gcm@x,aes256-gcm@x,chacha20,aes128-ctr";
    const char* const has = "flags\t\t: fpu aes sse2\n";
    const char* const has_not = "processor\t: 0\nFeatures\t: fp asimd\n";
    const struct {
        std::string script;
        bool aes_here;
        std::vector<const char*> learned;
        std::string expected;
    } rows[]{
        {"echo 'port 22'; echo '" + usual + "'", true, {}, first},
        {"echo '" + usual + "'", false, {}, ""},
        {"echo '" + usual + "'", true, {has}, first},
        {"echo '" + usual + "'", true, {"", "model name: aes\n"}, first},
        {"echo '" + usual + "'", true, {has_not}, ""},
        {"echo '" + usual + "'", true, {has_not, "", has_not}, ""},
        {"echo '" + usual + "'", true, {has_not, has}, first},
        {"case \"$*\" in *-Fnone*) echo '" + usual + "';; *) echo 'ciphers aes128-ctr';; esac", true, {}, ""},
        {"echo 'unknown option -G' >&2; exit 255", true, {}, ""},
        {"exec sleep 60", true, {}, ""},
    };
    for (const auto& row : rows) {
        const test::Sandbox sandbox;
        sandbox.make_file("bin/ssh", "#!/bin/sh\n" + row.script + "\n", 0755);
        const std::string path = std::getenv("PATH");
        ::setenv("PATH", (sandbox.at("bin:") + path).c_str(), 1);
        const auto choice_of = [&](const char* host) {
            return CipherChoice({"", host, "", ""}, sandbox.at("state"), row.aes_here);
        };
        for (const char* processors : row.learned)
            choice_of("far").learn(processors);
        EXPECT_EQ(choice_of("far").ciphers(), row.expected) << row.script;
        EXPECT_EQ(choice_of("near").ciphers().empty(), row.expected.empty() && row.learned.empty());
        ::setenv("PATH", path.c_str(), 1);
    }
}

TEST(LinkFailure, IsToldFromWhatSshSays) {
    const std::vector<std::pair<std::vector<std::string>, const char*>> cases{
        {{"ssh: Could not resolve hostname x: Name or service not known"}, "unknown-host"},
        {{"ssh: connect to host x port 22: Connection refused"}, "refused"},
        {{"ssh: connect to host x port 22: Connection timed out"}, "timed-out"},
        {{"Connection timed out during banner exchange"}, "timed-out"},
        {{"ssh: connect to host x port 22: No route to host"}, "timed-out"},
        {{"@    WARNING: REMOTE HOST IDENTIFICATION HAS CHANGED!     @", "Host key verification failed."},
         "host-key-changed"},
        {{"Host key verification failed."}, "host-key-unknown"},
        {{"Permission denied, please try again.", "me@x: Permission denied (publickey,password)."}, "denied"},
        {{"subsystem request failed on channel 0"}, "no-sftp"},
        {{"kex_exchange_identification: read: Connection reset by peer"}, "other"},
        {{}, "other"},
    };
    for (const auto& [lines, word] : cases)
        EXPECT_STREQ(kind_word(failure_kind(lines)), word) << last_words(lines);
    EXPECT_EQ(last_words({"1", "Warning: Permanently added x", "2", "3", "4"}), "2\n3\n4");
}

TEST(PartName, SaysWhoWritesIt) {
    constexpr std::time_t kDay = 24L * 3600;
    const PartName part;
    const std::string& own = part.text();
    const auto now = std::time(nullptr);
    const std::string gone = PartName().text();
    EXPECT_NE(own, gone);
    EXPECT_TRUE(is_left_over(gone, now)) << "nobody writes it any more";
    EXPECT_TRUE(is_part_name(own));
    EXPECT_FALSE(is_left_over(own, now + 365 * kDay));
    const std::string host = own.substr(11, own.find('-', 11) - 11);
    const auto name = [](const std::string& of_host, const std::string& process, std::time_t time) {
        std::array<char, 32> hex{};
        std::snprintf(hex.data(), hex.size(), "%llx", static_cast<unsigned long long>(time));
        return ".relay-hub-" + of_host + "-" + process + "-" + hex.data() + "-1.part";
    };
    EXPECT_TRUE(is_left_over(name(host, "7fffffff", now), now)) << "no such process";
    EXPECT_TRUE(is_left_over(name(host, "1", 1000), now)) << "the process is younger than the file";
    EXPECT_FALSE(is_left_over(name("0", "7fffffff", now - kDay), now)) << "another computer's";
    EXPECT_TRUE(is_left_over(name("0", "1", now - 8 * kDay), now)) << "another computer's, old";
    for (const char* other : {"", ".relay-hub-.part", ".relay-hub-1-2-3.part", ".relay-hub-1-2-3-4-5.part",
                              ".relay-hub-1-2-3-g.part", ".relay-hub-1-2-3-4.parts", "relay-hub-1-2-3-4.part",
                              ".relay-hub-1-2--4.part", ".relay-hub-1-2-3-4-.part"}) {
        EXPECT_FALSE(is_part_name(other)) << other;
        EXPECT_FALSE(is_left_over(other, now)) << other;
    }
}

TEST(UserFolder, IsReadFromItsFile) {
    const std::string file =
        "# comment\nXDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\nXDG_DOCUMENTS_DIR=\"/data/d\"\n"
        "XDG_MUSIC_DIR=\"$HOME/\"\nXDG_VIDEOS_DIR=\"$HOME/V";
    EXPECT_EQ(user_folder(file, "XDG_DESKTOP_DIR", "/home/me"), "/home/me/Schreibtisch");
    EXPECT_EQ(user_folder(file, "XDG_DOCUMENTS_DIR", "/home/me"), "/data/d");
    for (const char* none : {"XDG_MUSIC_DIR", "XDG_VIDEOS_DIR", "XDG_PICTURES_DIR", "DESKTOP_DIR"})
        EXPECT_EQ(user_folder(file, none, "/home/me"), "") << none;
}

TEST(RemoteEntry, GivesNobodyTheOwnersRights) {
    Attributes attributes;
    attributes.permissions = 0106755;
    EXPECT_EQ(entry_of("a", attributes).mode, 0755U);
    Entry entry;
    entry.mode = 06755;
    entry.has_mode = true;
    EXPECT_EQ(attributes_of(entry).permissions, 0755U);
}

TEST(Answer, IsReadOnlyWhole) {
    Attributes all;
    all.size = 1ULL << 40U;
    all.owner = {1, 2};
    all.permissions = 0100644;
    all.times = {3, 4};
    const std::string attributes = Fields().add(all).bytes();
    EXPECT_EQ(read_attributes(attributes)->times->modified, 4U);
    const std::string extended =
        Fields().add(0x80000000U).add(2U).add("a").add("b").add("c").add("d").bytes();
    const std::string names =
        Fields().add(2U).add("x").add("long").add(all).add("y").add("").add(Attributes()).bytes();
    EXPECT_EQ(read_names(names)->at(1).name, "y");
    EXPECT_FALSE(read_version(Fields().add(6U).bytes()));
    EXPECT_EQ(read_status(Fields().add(4U).bytes())->code, StatusCode::kFailure) << "old servers say no more";
    EXPECT_FALSE(read_handle(Fields().add(std::string(257, 'h')).bytes()));
    EXPECT_FALSE(read_names(Fields().add(0xffffffffU).bytes())) << "a count is no reason to take memory";
    EXPECT_FALSE(read_attributes(Fields().add(0x80000000U).add(0xffffffffU).bytes()));
    for (std::size_t size = 0; size < 32; ++size)
        EXPECT_FALSE(read_limits(std::string(size, '\0'))) << size;
    // Cut at any place, or with a byte too many, nothing is an answer.
    for (const auto& [text, reads] :
         std::vector<std::pair<std::string, std::function<bool(std::string_view)>>>{
             {attributes, [](auto fields) { return read_attributes(fields).has_value(); }},
             {extended, [](auto fields) { return read_attributes(fields).has_value(); }},
             {names, [](auto fields) { return read_names(fields).has_value(); }},
             {Fields().add("data").bytes(), [](auto fields) { return read_data(fields).has_value(); }},
             {Fields().add("h").bytes(), [](auto fields) { return read_handle(fields).has_value(); }}}) {
        EXPECT_TRUE(reads(text));
        EXPECT_FALSE(reads(text + "x"));
        for (std::size_t size = 0; size < text.size(); ++size)
            EXPECT_FALSE(reads(std::string_view(text).substr(0, size))) << size;
    }
}

TEST(LinkStatus, IsNotHeldUpByAReaderThatStandsStill) {
    test::Pipe pipe;
    const LinkStatus status(std::move(pipe.writer));
    for (int i = 0; i < 200; ++i)
        status.ssh_said(std::string(1000, 'x'));
    ASSERT_EQ(fcntl(pipe.reader.get(), F_SETFL, O_NONBLOCK), 0);
    EXPECT_TRUE(test::read_bytes(pipe.reader.get(), 1000000).ends_with("x\n")) << "whole lines";
    status.lost("gone");
    EXPECT_EQ(test::read_bytes(pipe.reader.get(), 1000), "lost\tgone\n");
}

}  // namespace
}  // namespace relay_hub::engine::sftp
