#include "link_engine/request_builders.h"

#include <clocale>
#include <sstream>

#include "fake_engine.h"
#include "link_engine/answer_slot.h"
#include "link_engine/send_args.h"
#include "util/ansi_unicode_hex.h"
#include "wire.h"

namespace test {
namespace {

using namespace relay_hub;

constexpr char kName[] = "C:\\a&b<c>\"d'\xC3\xA9\xF0\x9F\x98\x80";
constexpr char kNameOnWire[] = "C:\\a&amp;b&lt;c&gt;&dq;d'\xC3\xA9\xF0\x9F\x98\x80";
constexpr char kNameHex[] = "43003A005C006100260062003C0063003E00220064002700E90001F6";

__send_args nasty_args() {
    __send_args args;
    args.list_path = args.source_path = kName;
    args.list_path_hex = args.source_path_hex = kNameHex;
    args.target_path = "/to & fro";
    args.target_path_hex = "TARGET";
    args.items = {{kName, kNameHex, {kFileItem, 5000000000, 132000000000000001, 4294967296, 4294967295}},
                  {"C:\\folder", "FOLDER", {kFolderItem, 2147483648, 1, 2}},
                  {"C:\\odd", "ODD", {2}}};
    return args;
}

std::string fill(std::string text) {
    for (const auto& [word, value] : {std::pair("{name}", kNameOnWire), {"{hex}", kNameHex}})
        for (std::size_t at = 0; (at = text.find(word)) != std::string::npos;)
            text.replace(at, std::strlen(word), value);
    return text;
}

// An attribute document as it stands on the wire, from "name value" pairs.
std::string embedded(const std::string& pairs) {
    std::istringstream words(pairs);
    std::string text = "<TL>&lt;ZEVMSG&gt;";
    for (std::string name, value; words >> name >> value;)
        text.append("&lt;" + name + "&gt;").append(value).append("&lt;/" + name + "&gt;");
    return text + "&lt;/ZEVMSG&gt;</TL>";
}

std::string remote_to_local_records() {
    const std::string target = "<T9>/to &amp; fro</T9><TB>TARGET</TB>";
    return "<T8><Line><TA>{name}</TA><TC>{hex}</TC>" + target +
           embedded("TN 0 TZ 1 TZ1 705032704 TP 30733644 TQ -161873919 TS 1 TT 0 TV 0 TW -1") +
           "</Line><Line><TA>C:\\folder</TA><TC>FOLDER</TC>" + target +
           embedded("TN 16 TZ 0 TZ1 -2147483648 TP 0 TQ 1 TS 0 TT 2 TV 0 TW 0") +
           "</Line><Line><TA>C:\\odd</TA><TC>ODD</TC>" + target + embedded("TN 16 TZ 0 TZ1 -2147483648") +
           "</Line></T8>";
}

std::string trace(const std::string& name, const char* word, const std::string& shown) {
    return "NP_VAL_CMD_" + name + " " + word + ":[ " + shown + " ]\n";
}

TEST(RequestBuilders, EveryRequestHasItsExactBytesAndTraces) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    ASSERT_EQ(unicode_hex(kName), kNameHex);
    const std::string path = "<TG>{name}</TG><TF>{hex}</TF>";
    const std::string paths = "<TJ>{hex}</TJ><TK>TARGET</TK>";
    const std::string items =
        "<T8><Line><TF>{hex}</TF></Line><Line><TF>FOLDER</TF></Line><Line><TF>ODD</TF></Line></T8>";
    // Where no word is printed with it, the request stands alone.
    // clang-format off
    const std::tuple<int (*)(void*), std::string, std::string, const char*, std::string> rows[] = {
        {set_NP_VAL_CMD_GET_FILE_LIST, "Get_File_List", "GET_FILE_LIST", "Send", path},
        {set_NP_VAL_CMD_GET_DRIVER_LIST, "Get_Driver_List", "GET_DRIVER_LIST", "Send", ""},
        {set_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH, "Get_Remote_Special_Path", "GET_REMOTE_SPECIAL_PATH", "Send", ""},
        {set_NP_VAL_CMD_RENAME, "Rename", "RENAME", "Send", paths},
        {set_NP_VAL_CMD_DELETE_FILE, "Delete_File", "DELETE_FILE", "Send", path},
        {set_NP_VAL_CMD_DELETE_FOLDER, "Delete_Folder", "DELETE_FOLDER", "Send", path},
        {set_NP_VAL_CMD_MOVE_FILE_TO_TRASH, "Move_File_To_Trash", "MOVE_FILE_TO_TRASH", "Sender", items},
        {set_NP_VAL_CMD_CREATE_FOLDER, "Create_Folder", "CREATE_FOLDER", "Receive", path},
        {set_NP_VAL_CMD_EXIT_LINK_ENGINE, "Exit_Link_Engine", "", nullptr, ""},
        {set_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL, "Remote_to_Local", "COPY_REMOTE_TO_LOCAL", "Send", remote_to_local_records()},
        {set_NP_VAL_CMD_CHECK_CONNECTION_STATUS, "Check_Connection_Status", "CHECK_CONNECTION_STATUS", "Send", ""},
        {set_NP_VAL_CMD_CHECK_REMOTE_ONLINE, "Check_Remote_Online", "CHECK_REMOTE_ONLINE", "Send", ""},
        {set_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, "Check_For_Heartbeat", "CHECK_FOR_HEARTBEAT", nullptr, ""}};
    // clang-format on
    for (const auto& [build, command, name, sent_word, fields] : rows) {
        SCOPED_TRACE(command);
        const bool answered = !name.empty();
        const std::string answer = "<ZEVMSG><T1>answer</T1></ZEVMSG>";
        FakeEngine engine(
            [&](const std::string&) { return answered ? std::optional(answer) : std::nullopt; });
        __send_args args = nasty_args();
        release_xml_string();
        testing::internal::CaptureStdout();
        EXPECT_EQ(build(&args), 0);
        const std::string printed = testing::internal::GetCapturedStdout();
        ASSERT_TRUE(wait_until([&] { return engine.frames().size() == 1; }));
        const std::string text = fill(request(command, fields));
        EXPECT_EQ(engine.frames()[0], frame(command_body(text)));
        const std::string sent = sent_word ? trace(name, sent_word, text) : text + "\n";
        EXPECT_EQ(printed, sent + (answered ? trace(name, "Receive", answer) : ""));
        EXPECT_STREQ(get_xml_string(), answered ? answer.c_str() : nullptr);
        EXPECT_EQ(args.state, answered ? kStateFinished : kStateRunning);
    }
}

TEST(RequestBuilders, LocalItemsCarryTheirOwnStatusAndVanishedOnesZeros) {
    const Sandbox folder;
    const std::string file = folder.make_file("file", "12345");
    const timespec times[] = {{-1, 0}, {5000000000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    FakeEngine engine([](const std::string&) { return "<ZEVMSG></ZEVMSG>"; });
    __send_args args;
    args.target_path = "C:\\";
    args.target_path_hex = "HEX";
    args.items = {{file, "F"}, {folder.at("gone"), "G"}};
    testing::internal::CaptureStderr();
    EXPECT_EQ(set_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE(&args), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[FILENAME:../src/link_engine/Zev_link_op.cpp][FUNC:get_file_stat][LINE:105][error code:2] >> "
              "No such file or directory\n");
    const std::string target = "<TA>C:\\</TA><TC>HEX</TC>";
    const std::string text =
        "<ZEVMSG><NP_Cmd>NP_Cmd_Local_To_Remote</NP_Cmd><T8><Line><T9>" + file + "</T9><TB>F</TB>" + target +
        embedded("TN 0 TZ 0 TZ1 5 TP 0 TQ " + std::to_string(record(file).st_ctime) +
                 " TS -1 TT -1 TV 2 TW 705032704") +
        "</Line><Line><T9>" + args.items[1].path + "</T9><TB>G</TB>" + target +
        embedded("TN 0 TZ 0 TZ1 0 TP 0 TQ 0 TS 0 TT 0 TV 0 TW 0") + "</Line></T8></ZEVMSG>";
    ASSERT_EQ(engine.frames().size(), 1U);
    EXPECT_EQ(engine.frames()[0], frame(command_body(text)));
    EXPECT_EQ(set_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE(nullptr), -1);
    EXPECT_EQ(engine.frames().size(), 1U);
}

TEST(RequestBuilders, AFileListIsAskedForAgainAfterABadAnswer) {
    std::atomic<int> bad_answers = 1;
    FakeEngine engine([&](const std::string&) { return bad_answers-- > 0 ? "" : "<ZEVMSG></ZEVMSG>"; });
    __send_args args;
    set_NP_VAL_CMD_GET_FILE_LIST(&args);
    EXPECT_EQ(engine.frames().size(), 2U);
    EXPECT_STREQ(get_xml_string(), "<ZEVMSG></ZEVMSG>");
    // Five times in one run of the program, and then never again.
    bad_answers = 100;
    set_NP_VAL_CMD_GET_FILE_LIST(&args);
    EXPECT_EQ(engine.frames().size(), 7U);
    set_NP_VAL_CMD_GET_FILE_LIST(&args);
    EXPECT_EQ(engine.frames().size(), 8U);
}

}  // namespace
}  // namespace test
