#include "xml_doc/zev_xml.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

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
    const struct {
        const char* value;
        const char* stored;
    } cases[] = {
        {"x<y & \"z\"", "x&lt;y &amp; &dq;z&dq;"},
        {"&lt;&amp;lt;&dq;", "&amp;lt;&amp;amp;lt;&amp;dq;"},
        {"it's & &", "it's &amp; &amp;"},
        {"caf\xC3\xA9\xFF.txt", "caf\xC3\xA9\xFF.txt"},
    };
    for (const auto& one : cases) {
        document_.ResetContent();
        document_.Generate("A", one.value);
        const std::string text = document_.GetXML();
        EXPECT_EQ(text, "<ZEVMSG><A>" + std::string(one.stored) + "</A></ZEVMSG>");
        load(text);
        EXPECT_EQ(document_.Query("A"), one.value);
    }
    load("<ZEVMSG><A>&quot;&am&lt</A></ZEVMSG>");
    EXPECT_EQ(document_.Query("A"), "&quot;&am&lt") << "no other entity is known";
}

TEST_F(Document, tells_what_is_wrong_with_a_path) {
    const struct {
        const char* path;
        const char* failure;
    } cases[] = {
        {"", "TagName should not be empty string"},
        {"A/", "TagName format error"},
        {"/", "TagName format error"},
        {"/Other/A", "The root tag should be \"ZEVMSG\""},
        {"/zevmsg/A", "The root tag should be \"ZEVMSG\""},
        {"A//B", "No Valid Tag Name"},
    };
    for (const auto& one : cases) {
        document_.ResetStatus();
        document_.Generate(one.path, "v");
        EXPECT_FALSE(CXML::m_bOperStatus) << one.path;
        EXPECT_EQ(document_.GetOperErrDesc(), one.failure) << one.path;
        EXPECT_EQ(document_.GetXML(), "<ZEVMSG></ZEVMSG>") << one.path;
        EXPECT_EQ(document_.Query(one.path), "");
    }
}

TEST_F(Document, walks_its_records) {
    load("<ZEVMSG><Line><N>1</N></Line><N>root</N><Line><N>2</N></Line></ZEVMSG>");
    EXPECT_EQ(document_.GetCount(), 2);
    EXPECT_TRUE(document_.IsBOF());
    EXPECT_EQ(document_.Query("N"), "1");
    document_.MoveNext();
    EXPECT_EQ(document_.Query("N"), "2");
    document_.MoveNext();
    EXPECT_TRUE(document_.IsEOF());
    EXPECT_EQ(document_.Query("N"), "root");
    for (const bool moved : {true, true, true, false})
        EXPECT_EQ(document_.MovePrev(), moved);
    EXPECT_TRUE(document_.IsEOF()) << "before the first counts as well";
}

TEST_F(Document, adds_records_until_update) {
    EXPECT_EQ(document_.AddNew(), 1);
    document_.Generate("N", 1);
    document_.AddNew();
    document_.Generate("N", 2);
    document_.ResetContent();
    document_.AddNew();
    document_.Generate("N", 3);
    document_.Update();
    document_.Generate("N", 4);
    EXPECT_EQ(document_.GetXML(), "<ZEVMSG><Line><N>3</N></Line><N>4</N></ZEVMSG>");
}

TEST_F(Document, merges_records_below_one_element) {
    CZEVXML record;
    for (const char* const value : {"a&b", "c"}) {
        record.ResetContent();
        record.AddNew();
        record.Generate("TF", value);
        document_.MergeMRS("T8", record.GetXML());
    }
    EXPECT_EQ(document_.GetXML(),
              "<ZEVMSG><T8><Line><TF>a&amp;b</TF></Line><Line><TF>c</TF></Line></T8></ZEVMSG>");
    EXPECT_EQ(document_.GetMRSCount("T8"), 2);
    CZEVXML out;
    EXPECT_TRUE(document_.ExtractMRS("T8", out));
    EXPECT_EQ(out.Query("TF"), "a&b");
    out.ReFormat();
    EXPECT_EQ(out.Query("T8/Line[1]/TF"), "c");
    EXPECT_FALSE(document_.ExtractMRS("None", out));
    EXPECT_TRUE(out.IsEmpty());
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

TEST_F(Document, grafts_beside_and_below) {
    document_.Generate("A/B", "1");
    document_.AppendSibling("A", "<ZEVMSG><C></C><D></D></ZEVMSG>");
    EXPECT_TRUE(document_.AppendChild("A/B", "<E/>"));
    EXPECT_TRUE(document_.AppendXML("<F>&lt;</F>"));
    EXPECT_EQ(document_.GetXML(), "<ZEVMSG><A><B>1<E></E></B></A><C></C><D></D><F>&lt;</F></ZEVMSG>");
    EXPECT_FALSE(document_.AppendChild("A", "no markup"));
    document_.ResetStatus();
    EXPECT_FALSE(document_.AppendChild("None", "<E/>"));
    EXPECT_EQ(document_.GetOperErrDesc(), "Tag not found");
}

TEST_F(Document, moves_renames_and_deletes) {
    const struct {
        void (*change)(CZEVXML&);
        const char* after;
    } cases[] = {
        {[](auto& d) { d.Delete("A/B"); }, "<A x=\"1\">t</A><C></C>"},
        {[](auto& d) { d.Delete("A/B[1]"); }, "<A x=\"1\">t<B>1</B><B>3</B></A><C></C>"},
        {[](auto& d) { EXPECT_TRUE(d.ChangePath("A", "C/D")); },
         "<C><D><A x=\"1\">t<B>1</B><B>2</B><B>3</B></A></D></C>"},
        {[](auto& d) { EXPECT_TRUE(d.RevisePath("A", "C")); }, "<C x=\"1\">t<B>1</B><B>2</B><B>3</B></C>"},
        {[](auto& d) { EXPECT_FALSE(d.RevisePath("None", "D")); },
         "<A x=\"1\">t<B>1</B><B>2</B><B>3</B></A><C></C>"},
        {[](auto& d) { EXPECT_TRUE(d.ChangePath("A", "A/B")); }, "<C></C>"},
        {[](auto& d) { EXPECT_TRUE(d.RevisePath("A", "A/B")); }, "<C></C>"},
    };
    for (const auto& one : cases) {
        load("<ZEVMSG><A x=\"1\">t<B>1</B><B>2</B><B>3</B></A><C></C></ZEVMSG>");
        one.change(document_);
        EXPECT_EQ(document_.GetXML(), "<ZEVMSG>" + std::string(one.after) + "</ZEVMSG>");
    }
}

TEST_F(Document, sets_and_finds_attributes) {
    document_.GenerateAttribute("L/I", "id", "1");
    document_.GenerateAttribute("L/I[1]", "id", "2");
    document_.GenerateAttribute("L/J", "id", "");
    document_.CopyRootAttr("<X b=\"2\" a=\"&lt;\"/>");
    EXPECT_EQ(document_.GetXML(),
              "<ZEVMSG a=\"&lt;\" b=\"2\"><L><I id=\"1\"></I><I id=\"2\"></I></L></ZEVMSG>");
    EXPECT_EQ(document_.QueryAttribute("L/I[1]", "id"), "2");
    EXPECT_EQ(document_.FindTagByAttr("L", "id", "2"), "I");
    std::vector<std::string> tags = {"stale"};
    EXPECT_TRUE(document_.GetTagArray("L", tags));
    EXPECT_EQ(tags, (std::vector<std::string>{"I", "I"}));
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

}  // namespace
