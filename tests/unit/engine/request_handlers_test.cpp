#include "engine/request_handlers.h"

#include "engine/file_list.h"
#include "engine/wire_text.h"
#include "engine_sandbox.h"
#include "wire.h"

namespace relay_hub::engine {
namespace {

const std::string kDone = message(kSuccess), kFail = "<T1>NP_Exe_Result_Fail</T1>";

class Handling : public EngineSandbox {
  protected:
    std::string ask(const std::string& text, Style style = Style::kWindows) {
        remote_ = FolderFileSystem::open(served_, Reach::kBeneath, style);
        RequestHandlers handlers(remote_, local_, front_end_, remote_online_);
        return handlers.handle(text).text;
    }

    PresetFrontEnd front_end_;
    std::atomic<bool> remote_online_ = true;
};

TEST_F(Handling, StatusPlacesAndDrives) {
    std::filesystem::create_directory(served_ + "/Documents");
    using enum Style;
    const std::tuple<const char*, bool, Style, std::string> cases[] = {
        {"Check_For_Heartbeat", false, kWindows, field("NP_Server_Is_Live", "Y")},
        {"Check_Remote_Online", true, kWindows, kSuccess + field("NP_Cmd_Remote_Is_Online", "Y")},
        {"Check_Remote_Online", false, kWindows, kSuccess + field("NP_Cmd_Remote_Is_Online", "N")},
        {"Check_Connection_Status", false, kWindows,
         kSuccess + field("NP_Connection_Local_Device_On", "Y") + field("NP_Connection_Device_On", "Y") +
             field("NP_Connection_Application_On", "N")},
        {"Get_Driver_List", true, kWindows,
         kSuccess + "<Line><TD>3</TD><TA>C:\\</TA><TF>43003A005C00</TF></Line>"},
        {"Get_Remote_Special_Path", true, kPosix, kSuccess + hex_field("TK2", "/Documents")},
        {"Get_Driver_List", false, kWindows, kFail + field("T2", "IDS_ERROR_DISCONNECT")},
        {"Unheard_Of", true, kWindows, kFail + field("T2", "IDS_REASON_NO_COMMAND")},
    };
    for (const auto& [command, online, style, answer] : cases) {
        remote_online_ = online;
        EXPECT_EQ(ask(request(command), style), message(answer));
    }
    remote_online_ = true;
    EXPECT_NE(ask("no document").find("NP_Exe_Result_Fail"), std::string::npos);
}

TEST_F(Handling, AListInNaturalOrderWithoutWhatCannotBeTold) {
    for (const char* name : {"file 10", "file 9", "a&b", ".hidden", "bad\xff", "back\\slash", "new\nline"})
        put(served_ + "/d/" + name, std::string(1536, 'x'));
    std::filesystem::create_directory(served_ + "/d/folder");
    const timespec times[2] = {{1'600'000'001, 0}, {1'600'000'002, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, (served_ + "/d/a&b").c_str(), times, 0), 0);
    const std::string answer = ask(request("Get_File_List", field("TG", "C:\\d") + hex_field("TF", "C:\\d")));
    EXPECT_TRUE(answer.starts_with("<ZEVMSG><T1>NP_Exe_Result_Success</T1><NP_Free_Space>"));
    const char first[] = "<Line><TA>a&amp;b</TA><TF>610026006200</TF><TY>1536</TY><TZ2>1.5 KB</TZ2><TO>";
    EXPECT_EQ(answer.find(first), answer.find("<Line>"));
    EXPECT_NE(answer.find("<TR>1600000001</TR><TU>1600000002</TU><TH>0</TH>"), std::string::npos);
    for (const char* name : {".hidden", "bad", "slash", "line"})
        EXPECT_EQ(answer.find(name), std::string::npos);
    EXPECT_LT(answer.find("<TA>file 9<"), answer.find("<TA>file 10<"));
    EXPECT_NE(answer.find("<TH>1</TH>", answer.find("<TA>folder</TA>")), std::string::npos);

    EXPECT_EQ(ask(request("Get_File_List", field("TG", "C:\\none"))),
              failure_text("No such file or directory"));
    EXPECT_EQ(ask(request("Get_File_List", field("TG", "C:\\d\\..\\.."))),
              failure_text("IDS_REASON_NOT_A_PATH"));
}

TEST_F(Handling, ChangesInTheTree) {
    make_file("served/taken", "t");
    make_file("served/old 🎉", "o");
    const std::tuple<std::string, const char*, const char*> cases[] = {
        {field("TG", "C:\\new") + hex_field("TF", "C:\\new"), "Create_Folder", nullptr},
        {field("TG", "C:\\new"), "Create_Folder", "IDS_REASON_NAME_TAKEN"},
        {hex_field("TJ", "C:\\old 🎉") + hex_field("TK", "C:\\taken"), "Rename", "IDS_REASON_NAME_TAKEN"},
        {hex_field("TJ", "C:\\old 🎉") + hex_field("TK", "C:\\new\\moved 😀"), "Rename", nullptr},
        {field("TG", "C:\\taken"), "Delete_Folder", "Not a directory"},
        {field("TG", "C:\\new"), "Delete_File", "Is a directory"},
        {field("TG", "C:\\taken"), "Delete_File", nullptr},
        {field("TG", "C:\\"), "Delete_Folder", "IDS_REASON_BUSY"},
        {field("T8", field("Line", hex_field("TF", "C:\\gone")) +
                         field("Line", hex_field("TF", "C:\\new\\moved 😀"))),
         "Move_File_To_Trash", "IDS_MSG_ITEMS_FAILED"},
    };
    for (const auto& [fields, command, failure] : cases)
        EXPECT_EQ(ask(request(command, fields)), failure != nullptr ? failure_text(failure) : kDone);
    EXPECT_EQ(content(served_ + "/.Trash-" + std::to_string(geteuid()) + "/files/moved 😀"), "o");
    EXPECT_TRUE(names_in(served_ + "/new").empty());
}

TEST_F(Handling, NothingIsMadeBesideTheTarget) {
    make_file("mine/sub/file", "f");
    const std::pair<std::string, Names> cases[] = {
        {mine_ + "/sub/.", {"sub"}}, {mine_ + "/sub/..", {"mine"}}, {"/", {}}, {"/..", {}}, {"/.", {}}};
    for (const auto& [source, made] : cases) {
        const std::string item = hex_field("TB", source) + hex_field("TC", "C:\\target");
        std::filesystem::create_directory(served_ + "/target");
        const std::string answer = ask(request("Local_To_Remote", field("T8", field("Line", item))));
        EXPECT_EQ(answer == kDone, !made.empty()) << source << answer;
        EXPECT_EQ(names_in(served_ + "/target"), made) << source;
        EXPECT_EQ(names_in(served_), Names{"target"}) << source;
        std::filesystem::remove_all(served_ + "/target");
    }
}

TEST_F(Handling, WhatAListOrACopyLeavesOutIsTold) {
    for (const char* name : {"good", ".hidden", "back\\slash"})
        put(served_ + "/d/" + name, "x");
    (void)ask(request("Get_File_List", field("TG", "C:\\d")));
    EXPECT_EQ(front_end_.messages, Names{"IDS_LIST_LEFT_OUT"});
    (void)ask(request("Get_File_List", field("TG", "C:\\")));
    EXPECT_EQ(front_end_.messages.size(), 1U);
    // Where the box cannot be delivered, the answer tells.
    const std::string item = hex_field("TC", "C:\\d") + hex_field("TB", mine_);
    const std::string copy = request("Remote_to_Local", field("T8", field("Line", item)));
    EXPECT_EQ(ask(copy), kDone);
    EXPECT_EQ(front_end_.messages.size(), 2U);
    front_end_.takes_messages = false;
    EXPECT_EQ(ask(copy), failure_text("IDS_MSG_ITEMS_FAILED"));
}

TEST_F(Handling, ThousandsOfFoldersThatAreNotThere) {
    std::string path = "C:";
    for (int level = 0; level < 20000; ++level)
        path += "\\x";
    for (const char* command : {"Rename", "Create_Folder", "Delete_Folder"})
        EXPECT_EQ(
            ask(request(command, hex_field("TJ", path) + hex_field("TK", path) + hex_field("TF", path))),
            failure_text("No such file or directory"));
}

TEST_F(Handling, AListNeverOutgrowsTheFrontEndsBuffer) {
    Listing listing;
    listing.entries.resize(90000);
    for (std::size_t i = 0; i < listing.entries.size(); ++i)
        listing.entries[i].name = std::string(30, 'n') + std::to_string(i);
    const FileList list = file_list(listing, Style::kWindows, HiddenFiles::kLeftOut, 5, kLongestAnswer);
    const std::string& answer = list.text;
    EXPECT_EQ(list.shown, listing.entries.size());
    EXPECT_LT(list.sent, list.shown);
    EXPECT_LE(answer.size(), kLongestAnswer);
    EXPECT_GT(answer.size(), kLongestAnswer * 9 / 10);
    EXPECT_TRUE(answer.ends_with("</Line></ZEVMSG>"));
    EXPECT_EQ(answer.find("<TF>"), std::string::npos);
}

}  // namespace
}  // namespace relay_hub::engine
