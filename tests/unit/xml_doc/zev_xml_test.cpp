#include "xml_doc/zev_xml.h"

#include "sandbox.h"

#include <climits>

namespace {

class Document : public testing::Test {
  protected:
    Document() { document_.ResetStatus(); }
    void load(const std::string& text) { ASSERT_TRUE(document_.LoadXML(text)) << document_.GetOperErrDesc(); }

    CZEVXML document_;
};

TEST_F(Document, generates_each_kind_of_value_at_its_path) {
    document_.Generate("Cmd", "NP_Cmd_X");
    document_.Generate("Param/Count", 5);
    document_.Generate("Unset", "");
    document_.Generate("Empty", "", true);
    document_.Generate("/ZEVMSG/Param/Big", LLONG_MIN);
    document_.Generate("param/COUNT", 6L);
    EXPECT_EQ(document_.GetXML(),
              "<ZEVMSG><Cmd>NP_Cmd_X</Cmd><Param><Count>6</Count><Big>-9223372036854775808</Big></"
              "Param><Empty></Empty></ZEVMSG>");
    EXPECT_EQ(document_.QueryInt("Param/count"), 6);
    EXPECT_EQ(document_.QueryLng("Param/Big"), LONG_MIN);
    EXPECT_EQ(document_.QueryInt("Cmd"), 0);
}

TEST_F(Document, escapes_values_and_gives_them_back) {
    const std::pair<const char*, const char*> cases[] = {
        {"x<y & \"z\"", "x&lt;y &amp; &dq;z&dq;"},
        {"&lt;&amp;lt;&dq;", "&amp;lt;&amp;amp;lt;&amp;dq;"},
        {"it's & &", "it's &amp; &amp;"},
        {"caf\xC3\xA9\xFF.txt", "caf\xC3\xA9\xFF.txt"},
    };
    for (const auto& [value, stored] : cases) {
        document_.ResetContent();
        document_.Generate("A", value);
        const std::string text = document_.GetXML();
        EXPECT_EQ(text, "<ZEVMSG><A>" + std::string(stored) + "</A></ZEVMSG>");
        load(text);
        EXPECT_EQ(document_.Query("A"), value);
    }
    load("<ZEVMSG><A>&quot;&am&lt</A></ZEVMSG>");
    EXPECT_EQ(document_.Query("A"), "&quot;&am&lt") << "no other entity is known";
}

TEST_F(Document, tells_what_is_wrong_with_a_path) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "TagName should not be empty string"},
        {"A/", "TagName format error"},
        {"/", "TagName format error"},
        {"/Other/A", "The root tag should be \"ZEVMSG\""},
        {"/zevmsg/A", "The root tag should be \"ZEVMSG\""},
        {"A//B", "No Valid Tag Name"},
    };
    for (const auto& [path, failure] : cases) {
        document_.ResetStatus();
        document_.Generate(path, "v");
        EXPECT_FALSE(CXML::m_bOperStatus) << path;
        EXPECT_EQ(document_.GetOperErrDesc(), failure) << path;
        EXPECT_EQ(document_.GetXML(), "<ZEVMSG></ZEVMSG>") << path;
        EXPECT_EQ(document_.Query(path), "");
    }
}

// A walk over the growing list at each call would not end in the time that a test has.
TEST_F(Document, builds_and_reads_very_many_records) {
    constexpr int many = 100000;
    for (int number = 0; number < many; ++number) {
        document_.AddNew();
        document_.Generate("N", number);
        document_.Update();
    }
    for (int number = 0; number < many; ++number)
        document_.MergeMRS("T8", "<Line><N>1</N></Line>");
    const std::string text = document_.GetXML();
    load(text);
    int number = 0;
    for (; !document_.IsEOF(); document_.MoveNext())
        ASSERT_EQ(document_.QueryInt("N"), number++);
    EXPECT_EQ(number, many);
    EXPECT_EQ(document_.GetMRSCount("T8"), many);
    EXPECT_EQ(document_.Query("T8/Line[" + std::to_string(many - 1) + "]/N"), "1");
}

TEST_F(Document, drops_the_old_content_when_a_load_fails) {
    document_.Generate("Old", "1");
    EXPECT_FALSE(document_.LoadXML(""));
    EXPECT_TRUE(CXML::m_bOperStatus);
    EXPECT_EQ(document_.GetOperErrDesc(), "Loaded XML string is empty");
    EXPECT_EQ(document_.GetXML(), "<ZEVMSG></ZEVMSG>");
    document_.Generate("Old", "1");
    EXPECT_FALSE(document_.LoadXML("garbage"));
    EXPECT_EQ(document_.Query("Old"), "");
    EXPECT_FALSE(document_.LoadXML("<ZEVMSG><A b=1></A></ZEVMSG>"));
    EXPECT_TRUE(document_.LoadXML("<ZEVMSG></ZEVMSG>")) << "a later load starts afresh";
}

TEST_F(Document, grafts_counts_and_steps) {
    load("<ZEVMSG><A>x</A><Line><N>1</N></Line><Line><N>2</N></Line></ZEVMSG>");
    EXPECT_EQ(document_.GetTagCount(""), 3);
    EXPECT_EQ(document_.GetTagCount("/ZEVMSG"), 1) << "the record's";
    EXPECT_EQ(document_.GetTagCount("/ZEVMSG/None"), 0);
    EXPECT_TRUE(document_.IsBOF());
    EXPECT_TRUE(document_.MovePrev());
    EXPECT_FALSE(document_.MovePrev());
    document_.MoveNext();
    EXPECT_EQ(document_.QueryInt("N"), 1);
    document_.MoveNext();
    EXPECT_FALSE(document_.IsBOF());
    EXPECT_TRUE(document_.AppendXML("<ZEVMSG><B>y</B></ZEVMSG>"));
    EXPECT_EQ(document_.Query("B"), "y");
    const std::string before = document_.GetXML();
    document_.LoadArray(document_.GetParent());
    EXPECT_EQ(document_.GetXML(), before);
    std::vector<std::string> parts;
    EXPECT_TRUE(document_.ParseTag("/ZEVMSG/A/B", parts));
    EXPECT_EQ(parts, (std::vector<std::string>{"ZEVMSG", "A", "B"}));
    document_.Split("a//b", parts);
    EXPECT_EQ(parts, (std::vector<std::string>{"a", "", "b"}));
    std::string text = "aXbXX";
    document_.ReplaceSubstring(text, "X", "XX");
    EXPECT_EQ(text, "aXXbXXXX");
}

}  // namespace
