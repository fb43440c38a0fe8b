// What the program that asks for a computer reads: addresses, the ssh configuration, its key file, the
// engine's lines, its command line.

#include "connect/computer_history.h"
#include "connect/engine_status.h"
#include "connect/options.h"
#include "connect/ssh_config_hosts.h"
#include "sandbox.h"

namespace relay_hub::connect {
namespace {

using testing::ElementsAre;

// user|host|port|folder, or "-" for what names no computer.
std::string parts_of(const std::string& text) {
    const auto address = parse_typed(text);
    return address ? address->user + "|" + address->host + "|" + address->port + "|" + address->folder : "-";
}

TEST(Addresses, AreReadAndWritten) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"laptop", "|laptop||", "laptop"},
        {" anna@laptop \n", "anna|laptop||", "anna@laptop"},
        {"anna@corp@laptop:2222/srv/my music", "anna@corp|laptop|2222|/srv/my music",
         "anna@corp@laptop:2222/srv/my music"},
        {"sftp://laptop/my%20music", "|laptop||/my music", "laptop/my music"},
        {"ssh://anna@laptop:22/a%20b", "anna|laptop|22|/a b", "anna@laptop:22/a b"},
        {"laptop/a%20b:c@d", "|laptop||/a%20b:c@d", "laptop/a%20b:c@d"},
        {"laptop/", "|laptop||/", "laptop/"},
        {"192.168.7.2:22", "|192.168.7.2|22|", "192.168.7.2:22"},
        {"fe80::1%usb0", "|fe80::1%usb0||", "[fe80::1%usb0]"},
        {"anna@[fe80::1%usb0]:2222/x", "anna|fe80::1%usb0|2222|/x", "anna@[fe80::1%usb0]:2222/x"},
        {"sftp://[::1]/~/x", "|::1||~/x", "[::1]/~/x"},
        {"пк/Музыка", "|пк||/Музыка", "пк/Музыка"},
        {"laptop:22/~/a:b@c", "|laptop|22|~/a:b@c", "laptop:22/~/a:b@c"},
    };
    for (const auto& [typed, parts, written] : cases) {
        EXPECT_EQ(parts_of(typed), parts);
        EXPECT_EQ(parse_typed(typed).value_or(SshAddress()).whole(), written);
    }
    for (
        const char* none :
        {"a\tb",       "lap\u202Etop\u202C", "ssh://",     "-l@laptop",        "",         "anna@-x",  "[]",
         "@laptop",    "[fe80::1",           "a b",        "ssh://x/%2",       "anna@",    "[laptop]", " ",
         "laptop:",    "laptop:65536",       "\xff",       "laptop/\xff",      "laptop:0", "/srv",     "a\\b",
         "laptop:22x", "ssh://x/%00",        "[fe80::1]x", "-oProxyCommand=x", "::1%x]:22"})
        EXPECT_EQ(parts_of(none), "-") << none;
    for (const char* unshown : {"ssh://x/%b0", "ssh://x/a%20", "ssh://%fc@x"})
        EXPECT_EQ(parts_of(unshown), "-") << unshown;
    EXPECT_EQ(parts_of(std::string(70'000, 'x')), "-");
}

TEST(Addresses, TakeAFolderAsItWasTyped) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},      {" /srv ", "/srv"},   {"C:\\Users\\anna", "/C:/Users/anna"},
        {"d:", "/d:"}, {"Music", "~/Music"}, {"~/Music", "~/Music"},
        {"~", "~"},
    };
    for (const auto& [typed, folder] : cases)
        EXPECT_EQ(folder_of_typed(typed), folder) << typed;
}

TEST(SshConfig, NamesItsHosts) {
    const test::Sandbox sandbox;
    const std::string config = sandbox.at("home/.ssh/config");
    EXPECT_THAT(ssh_config_hosts(config, sandbox.at("home")), ElementsAre());
    test::put(config,
              "# Host comment\n"
              "Include conf.d/*.conf ~/more \"with blank\" missing\n"
              "hOsT=nas  tower # Host x\n"
              "  Host = \"two words\" 'third one' *.example !laptop serv?r nas\n"
              "HostName other\n"
              "Host\n"
              "Match host desk\n"
              "\tHost\tdesk\r\n"
              "Include config");
    test::put(sandbox.at("home/.ssh/conf.d/a.conf"), "Host first");
    test::put(sandbox.at("home/.ssh/conf.d/b.conf"), "Host second\n");
    test::put(sandbox.at("home/more"), "Host third\n");
    test::put(sandbox.at("home/.ssh/with blank"), "Host fourth\n");
    EXPECT_THAT(
        ssh_config_hosts(config, sandbox.at("home")),
        ElementsAre("first", "second", "third", "fourth", "nas", "tower", "two words", "third one", "desk"));
}

TEST(History, IsKeptMostRecentFirst) {
    const test::Sandbox sandbox;
    const std::string path = sandbox.at("state/relay-hub/computers");
    for (const char* used : {"nas", "anna@laptop/old", "nas:2222", "anna@laptop/new;\\ x"})
        EXPECT_EQ(ComputerHistory(path).remember(*parse_typed(used)), "");
    const auto listed = [&] {
        test::Names names;
        const ComputerHistory history(path);
        for (const SshAddress& address : history.computers())
            names.push_back(address.whole());
        return names;
    };
    EXPECT_THAT(listed(), ElementsAre("anna@laptop/new;\\ x", "nas:2222", "nas"));
    EXPECT_EQ(test::mode_of(path), 0600U);
    for (int i = 0; i < 30; ++i)
        (void)ComputerHistory(path).remember(*parse_typed("host" + std::to_string(i)));
    EXPECT_EQ(listed().size(), 20U);
    test::put(path, "[Computers]\nRecent=-oProxyCommand=x;nas;;nas/srv;\n");
    EXPECT_THAT(listed(), ElementsAre("nas"));
    test::put(path, "no key file");
    EXPECT_THAT(listed(), ElementsAre());
    std::filesystem::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_THAT(listed(), ElementsAre());
    EXPECT_THAT(ComputerHistory(path + "/below").remember(*parse_typed("nas")), testing::HasSubstr(path));
    ::setenv("XDG_STATE_HOME", "relative", 1);
    EXPECT_EQ(computer_history_path().front(), '/');
}

TEST(EngineStatus, IsReadFromItsLines) {
    const std::tuple<const char*, EngineEvent, const char*, Failure> cases[] = {
        {"connecting", EngineEvent::connecting, "", Failure::other},
        {"ssh\ta\\tb\\\\n\\nc\\x\\", EngineEvent::ssh, "a\tb\\n\nc\\x\\", Failure::other},
        {"failed\tdenied\tPermission denied", EngineEvent::failed, "Permission denied", Failure::denied},
        {"failed\thost-key-changed\t", EngineEvent::failed, "", Failure::host_key_changed},
        {"failed\tsomething-new\twhy", EngineEvent::failed, "why", Failure::other},
        {"failed", EngineEvent::failed, "", Failure::other},
        {"lost\tgone", EngineEvent::lost, "gone", Failure::other},
        {"later\tx", EngineEvent::unknown, "", Failure::other},
    };
    for (const auto& [line, event, text, failure] : cases) {
        const EngineStatus status = parse_status(line);
        EXPECT_EQ(std::tuple(status.event, status.text, status.failure), std::tuple(event, text, failure))
            << line;
    }
}

TEST(CommandLine, NamesWhatItDoesNotKnow) {
    const std::pair<test::Names, const char*> cases[] = {
        {{}, ""},
        {{"anna@laptop"}, ""},
        {{"--serve", "/srv"}, ""},
        {{"--share"}, ""},
        {{"--serve"}, "IDS_OPTION_NEEDS"},
        {{"--nonsense"}, "IDS_OPTION_UNKNOWN"},
        {{"laptop", "tower"}, "IDS_OPTION_UNKNOWN"},
        {{"a b"}, "IDS_OPTION_NO_COMPUTER"},
        {{"laptop", "--share"}, "IDS_OPTION_ONE_AT_MOST"},
    };
    for (const auto& [words, reason] : cases) {
        std::string wrong;
        EXPECT_EQ(parse_options(words, wrong).has_value(), *reason == '\0');
        EXPECT_EQ(wrong, reason);
    }
}

}  // namespace
}  // namespace relay_hub::connect
