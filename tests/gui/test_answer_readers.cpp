#include "gui/pane_fixture.h"
#include "link_engine/answer_slot.h"
#include "util/ansi_unicode_hex.h"
#include "xml_op/Zev_xml_op.h"
#include "xml_op/answer_readers.h"
#include "xml_op/answer_text.h"

namespace {

using namespace gui_test;
using testing::ElementsAre;

const std::string kFailure = "<T1>NP_Exe_Result_Fail</T1>";

class AnswerReaders : public Panes {
  protected:
    AnswerReaders() {
        ::setenv("TZ", "UTC", 1);
        ::tzset();
        folder_.list_path = "/home";
    }

    template <typename Reader>
    int read(Reader reader, const std::string& answer) {
        set_xml_string(answer.c_str());
        const int result = reader(&folder_);
        EXPECT_EQ(get_xml_string(), nullptr) << "the slot was not emptied";
        return result;
    }

    __send_args folder_;
};

TEST_F(AnswerReaders, FileListAnswersFillThePaneOrLeaveItAsItWas) {
    const std::tuple<const char*, std::string, int, std::string> cases[] = {
        {"good", message(kSuccess + line("a", "1") + line("b", "0")), 0, ".. a b"},
        {"no records", message(kSuccess), 0, ".."},
        {"empty", "", -1, "old"},
        {"cut off", message(kSuccess + line("a", "0")).substr(0, 60), -1, "old"},
        {"escapes", message(kSuccess + line("&dq;&lt;&amp;dq;", "0")), 0, ".. \"<&dq;"},
        {"record in a record",
         message(kSuccess + "<X>" + line("a", "0") + "</X><Line><TA>b</TA>" + line("c", "0") + "</Line>"), 0,
         ".. a b"},
        {"paths as names",
         message(kSuccess + line("..", "1") + line(".", "1") + line("../x", "0") + line("a\\b", "0")), 0,
         ".. ../x a\\b"},
        {"T1 in a record", message(line("a", "0") + "<Line><TA>b</TA><X>" + kSuccess + "</X></Line>"), 0,
         ".. a b"},
        {"text between records",
         message(kSuccess + "one" + line("a", "0") + "two" + line("b", "0") + "three"), 0, ".. a b"},
    };
    for (const auto& [what, answer, result, listed] : cases) {
        clean_tree_view(remote_.view());
        const char* const old_row[kColumnCount] = {"gtk-file", "old"};
        relay_hub::RowFiller(remote_.view()).add(old_row);
        EXPECT_EQ(read(get_NP_VAL_CMD_GET_FILE_LIST, answer), result) << what;
        EXPECT_EQ(names(remote_), listed) << what;
    }
    EXPECT_STREQ(relay_hub::current_folder(get_UI_sets()->right_side), "/home");
}

TEST_F(AnswerReaders, EveryFieldOfARecordHasItsColumn) {
    const std::string record =
        "<Line><TF>00</TF><TA>n</TA><TY>7</TY><TZ2>7 "
        "B</TZ2><TO>9</TO><TR>34</TR><TU>1700000000</TU><TX>x</TX>"
        "<TH>d</TH></Line>";
    folder_.list_path = "C:\\";
    ASSERT_EQ(read(get_NP_VAL_CMD_GET_FILE_LIST, message(kSuccess + record)), 0);
    EXPECT_EQ(names(remote_), "n");
    EXPECT_THAT(remote_.row(0), ElementsAre("gtk-directory", "n", "7 B", "IDS_FH_FOLDER",
                                            "2023-11-14 22:13:20", "", "7", "d", "1700000000", "34", "9"));
}

TEST_F(AnswerReaders, DrivesAndSpecialPathsBecomeEntries) {
    const auto hex = [](const char* path) { return relay_hub::unicode_hex(path); };
    EXPECT_EQ(read(get_NP_VAL_CMD_GET_DRIVER_LIST,
                   message(kSuccess + "<Line><TD>6</TD><TA>Ram</TA></Line><Line><TF>" + hex("lost") +
                           "</TF><TD>4</TD></Line><Line><TD>4</TD><TA>Disk</TA><TF>" + hex("D:\\") +
                           "</TF></Line>")),
              0);
    EXPECT_EQ(read(get_NP_VAL_CMD_GET_DRIVER_LIST, message(kFailure + "<Line><TD>2</TD><TA>A</TA></Line>")),
              -1);
    const std::string documents = "<TK2>" + hex("/home/x/Papers") + "</TK2>";
    const std::string desktop = "<TK1>" + hex("C:\\Users\\x\\Desktop") + "</TK1>";
    EXPECT_EQ(read(get_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH, message(documents + desktop)), 0);
    EXPECT_EQ(read(get_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH,
                   message(desktop + documents + "<TK2>" + hex("bare") + "</TK2>")),
              0);
    GtkTreeModel* entries = gtk_combo_box_get_model(GTK_COMBO_BOX(get_UI_sets()->right_side->drive_combo));
    EXPECT_THAT(column_texts(entries, 0),
                ElementsAre("gtk-harddisk", "gtk-info", "gtk-directory", "gtk-directory", "gtk-directory"));
    EXPECT_THAT(column_texts(entries, 1), ElementsAre("Ram", "Disk", "Desktop", "Desktop", "Papers"));
    const char* desktop_path = "C:\\Users\\x\\Desktop";
    EXPECT_THAT(column_texts(entries, 2),
                ElementsAre("Ram", "D:\\", desktop_path, desktop_path, "/home/x/Papers"));
}

TEST_F(AnswerReaders, OnlyTheCreateFolderReaderTellsAllCodes) {
    const std::tuple<std::string, std::string, int, int> cases[] = {
        {message(kSuccess), "", 0, 0},
        {message(kFailure + "<T2>disk &amp; full</T2>"), "disk & full", -1, -1},
        {"", "", RET_XML_NULL, -1},
        {"no xml", "", RET_XML_NULL, -1},
        {"<A/>", "", RET_XML_FMT_ERROR, -1},
        {"<ZEVMSG/>", "", RET_XML_TAG_MISS, -1},
    };
    for (const auto& [answer, reason, create_folder, others] : cases) {
        relay_hub::free_return_message();
        EXPECT_EQ(read(get_NP_VAL_CMD_CREATE_FOLDER, answer), create_folder) << answer;
        EXPECT_EQ(relay_hub::return_message(), reason);
        for (const auto reader : {get_NP_VAL_CMD_RENAME, get_NP_VAL_CMD_DELETE_FILE})
            EXPECT_EQ(read(reader, answer), others) << answer;
        for (const auto reader : {get_NP_VAL_CMD_MOVE_FILE_TO_TRASH, get_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE,
                                  get_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL}) {
            SetShowMessageBox("");
            EXPECT_EQ(read(reader, answer), others) << answer;
            EXPECT_EQ(GetShowMessageBox(), reason);
        }
    }
}

TEST(AnswerText, OnlyWhatTheParserCannotTakeIsReplaced) {
    const std::pair<std::string, std::string> cases[] = {
        {"caf\u00E9 \u65E5 \U0001F600\t\n", "caf\u00E9 \u65E5 \U0001F600\t\n"},
        {"&dq;a&dq;", "&quot;a&quot;"},
        {"&d;&amp;dq;", "&d;&amp;dq;"},
        {"\xC3", "\uFFFD"},
        {"\xE2\x82x", "\uFFFD\uFFFDx"},
        {"\xC0\xAF\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"a\x1B\x7F", "a\uFFFD\x7F"},
        {"\xEF\xBF\xBE\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
    };
    for (const auto& [text, readable] : cases) {
        std::string storage;
        EXPECT_EQ(relay_hub::readable_answer(text, storage), readable);
    }
}

}  // namespace
