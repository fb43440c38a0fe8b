#include "xml_doc/xml.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>

#include "xml_doc/well_formed.h"
#include "xml_doc/zev_xml.h"

namespace {

class Xml : public testing::Test {
  protected:
    Xml() {
        CXML::m_bOperStatus = true;
        CXML::m_strOperErrDesc.clear();
    }
};

struct ReadCase {
    const char* text;
    const char* written;
};

class WellFormed : public Xml, public testing::WithParamInterface<ReadCase> {};

TEST_P(WellFormed, is_read_and_written_back) {
    CXML root;
    EXPECT_TRUE(root.LoadXML(GetParam().text));
    EXPECT_EQ(root.GetXML(), GetParam().written);
    EXPECT_TRUE(CXML::m_bOperStatus) << CXML::m_strOperErrDesc;
    EXPECT_TRUE(relay_hub::is_well_formed(GetParam().text));
}

const ReadCase kWellFormed[] = {
    {"<A/>", "<A></A>"},
    {"<A x=\"1\" />", "<A x=\"1\"></A>"},
    {"<A b=\"1\" a=\"2\"></A>", "<A a=\"2\" b=\"1\"></A>"},
    {"<A a=\"1\" a=\"2\"/>", "<A a=\"2\"></A>"},
    {"<A a = \"  v w \"></A>", "<A a=\"v w\"></A>"},
    {"<A a=\"x>y/\"><B/></A>", "<A a=\"x>y/\"><B></B></A>"},
    {"<?xml version=\"1.0\"?>\n<?pi?><A></A>", "<A></A>"},
    {"<A><!-- c --><?pi?><B></B></A>", "<A><B></B></A>"},
    {"<A>\n<B>\n</B>\n</A>\n", "<A><B></B></A>"},
    {"<A>\ntext\n</A>", "<A>text</A>"},
    {"<A> <B/>\t</A>", "<A><B></B></A>"},
    {"<A>  <B/></A>", "<A>  <B></B></A>"},
    {"<A>one<B/>two</A>", "<A>onetwo<B></B></A>"},
    {"<A>\n\nx<B/>y</A>", "<A>xy<B></B></A>"},
    {"<A>say \"a<b\" now</A>", "<A>say \"a<b\" now</A>"},
    {"<A>&lt;&dq;&unknown;</A>", "<A>&lt;&dq;&unknown;</A>"},
    {"<A>caf\xC3\xA9 \xFF</A>", "<A>caf\xC3\xA9 \xFF</A>"},
    {"<A><a/><a></a></A>tail", "<A><a></a><a></a></A>"},
    {"<A><></A>", "<A></A>"},
    {"<A><B>", "<A><B></B></A>"},
    {"<A>cut", "<A>cut</A>"},
};
INSTANTIATE_TEST_SUITE_P(Xml, WellFormed, testing::ValuesIn(kWellFormed));

struct BadCase {
    std::string text;
    std::string written;
    const char* failure;
};

class Malformed : public Xml, public testing::WithParamInterface<BadCase> {};

TEST_P(Malformed, is_told_and_keeps_what_could_be_read) {
    CXML root;
    root.LoadXML(GetParam().text);
    EXPECT_FALSE(CXML::m_bOperStatus);
    EXPECT_EQ(CXML::m_strOperErrDesc, GetParam().failure);
    EXPECT_EQ(root.GetXML(), GetParam().written);
    EXPECT_FALSE(relay_hub::is_well_formed(GetParam().text));
}

constexpr const char* kIncomplete = "Warning Tag Block is Incomplete";
constexpr const char* kNameless = "No Valid Tag Name";
constexpr const char* kStrayB = "Warning Element Terminator exists without matching initial Block /B";

const BadCase kMalformed[] = {
    {"", "<></>", kNameless},
    {"no markup at all", "<></>", kNameless},
    {"<>", "<></>", kNameless},
    {"<", "<></>", kNameless},
    {"< A></A>", "<></>", kNameless},
    {"<AB", "<AB></AB>", kIncomplete},
    {"<A><B/><CD", "<A><B></B><CD></CD></A>", kIncomplete},
    {"<A b></A>", "<A></A>", kIncomplete},
    {"<A b=1></A>", "<A></A>", kIncomplete},
    {"<A b=\"1></A>", "<A></A>", kIncomplete},
    {"<A><B/><C d=\"1></C></A>", "<A><B></B></A>", kIncomplete},
    {"<A><B/><C d=1></C><D/></A>", "<A><B></B></A>", kIncomplete},
    {std::string("<A b=\"\0\"></A>", 13), "<A></A>", kIncomplete},
    {"</B>", "</B><//B>", kStrayB},
    {"<A></B></A>", "<A></B></A><//A><//B></A>",
     "Warning Element Terminator exists without matching initial Block /A"},
};
INSTANTIATE_TEST_SUITE_P(Xml, Malformed, testing::ValuesIn(kMalformed));

TEST_F(Xml, ends_a_text_at_its_nul) {
    CXML root;
    EXPECT_TRUE(root.LoadXML(std::string("<A>ab\0cd<B/>e</A>", 17)));
    EXPECT_EQ(root.GetXML(), "<A>abe<B></B></A>");
}

std::string nested(int levels) {
    std::string text;
    for (int level = 0; level < levels; ++level)
        text += "<A>";
    for (int level = 0; level < levels; ++level)
        text += "</A>";
    return text;
}

TEST_F(Xml, refuses_to_read_deeper_than_the_limit) {
    CXML root;
    root.LoadXML(nested(CXML::kMaxDepth));
    EXPECT_TRUE(CXML::m_bOperStatus);
    EXPECT_EQ(root.GetXML(), nested(CXML::kMaxDepth));
    root.LoadXML(nested(CXML::kMaxDepth + 1));
    EXPECT_FALSE(CXML::m_bOperStatus);
    EXPECT_TRUE(relay_hub::is_well_formed(nested(CXML::kMaxDepth)));
    EXPECT_FALSE(relay_hub::is_well_formed(nested(CXML::kMaxDepth + 1)));
}

TEST_F(Xml, judges_without_a_tree_as_it_does_with_one) {
    constexpr std::string_view pieces[] = {"<A>", "</A>", "<B/>", "<b a=\"1\">", "</b>", "<",
                                           ">",   "/",    "\"",   "<!-->",       "<?x>", " ",
                                           "=",   "x",    "\n",   {"\0", 1}};
    std::minstd_rand random(1);
    int well_formed = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = round % 2 == 0 ? "<A>" : "";
        for (auto length = random() % 12; length > 0; --length)
            text += pieces[random() % std::size(pieces)];
        const bool judged = relay_hub::is_well_formed(text);
        ASSERT_EQ(judged, CZEVXML().LoadXML(text)) << text;
        well_formed += judged ? 1 : 0;
    }
    EXPECT_GT(well_formed, 1000);
}

TEST_F(Xml, builds_copies_searches_writes_and_destroys_any_depth) {
    constexpr int levels = 200000;
    CXML root("A");
    CXML* deepest = &root;
    for (int level = 1; level < levels; ++level) {
        auto child = std::make_unique<CXML>("A");
        CXML* const below = child.get();
        ASSERT_TRUE(deepest->Adopt(std::move(child)));
        deepest = below;
    }
    deepest->SetAttr("ID", 7);
    EXPECT_EQ(root.FindByID(7), deepest);
    const std::string text = root.Copy()->GetXML();
    EXPECT_EQ(text.size(), levels * std::string("<A></A>").size() + std::string(" ID=\"7\"").size());
}

// Whoever looks at every pair of elements here does not end in the time that a test has.
TEST_F(Xml, reads_huge_input_in_one_pass) {
    constexpr int many = 300000;
    const auto repeated = [](std::string text, const std::string& piece, int times) {
        for (int turn = 0; turn < times; ++turn)
            text += piece;
        return text;
    };
    std::string attributes = "<A";
    for (int number = many; number > 0; --number)
        attributes += " a" + std::to_string(number) + "=\"\"";
    CXML root;
    root.LoadXML(attributes + "/>");
    EXPECT_EQ(root.GetAttrCount(), many);
    root.LoadXML(repeated("<A>", "<b></b>", 1000000));
    EXPECT_EQ(root.GetChildCount(), 1000000);
    EXPECT_NE(root.GetChildByTag("B", 1000000), nullptr);
    root.LoadXML(repeated("<A>\"", "<b>", many));
    EXPECT_EQ(root.GetText().GetLength(), many * 3 + 1);
    root.LoadXML(repeated("<A>" + std::string(many, '\n'), "xy<b/>", many));
    EXPECT_EQ(root.GetText().GetLength(), many * 2);
    root.LoadXML(repeated("<A>", "<b a=\"", many));
    root.LoadXML(repeated("", "</b>", many));
    EXPECT_FALSE(CXML::m_bOperStatus);
}

TEST_F(Xml, keeps_one_status_per_thread) {
    std::thread([] {
        CXML().AddChild(std::make_unique<CXML>().get());
        EXPECT_EQ(CXML::m_strOperErrDesc, kNameless);
    }).join();
    EXPECT_TRUE(CXML::m_bOperStatus);
    EXPECT_EQ(CXML::m_strOperErrDesc, "");
}

CXML* add(CXML& parent, const char* tag, const char* attribute = nullptr, const char* value = nullptr) {
    auto child = std::make_unique<CXML>(tag);
    CXML* const added = child.get();
    if (attribute != nullptr)
        child->SetAttr(attribute, value);
    parent.Adopt(std::move(child));
    return added;
}

// Around the number of children from which an index is kept, lookups must agree with a plain walk through
// every change.
TEST_F(Xml, finds_the_same_children_with_many_as_with_few) {
    for (const int pairs : {2, 8, 9, 50}) {
        CXML root("R");
        for (int turn = 0; turn < pairs; ++turn) {
            add(root, "Line");
            add(root, "other");
        }
        EXPECT_EQ(root.GetChildCountByTag("LINE"), pairs);
        EXPECT_EQ(root.GetChildByTag("line", 2), root.GetChildAt(2));
        EXPECT_EQ(root.GetCurrentChild(), root.GetChildAt(2));
        EXPECT_EQ(root.GetChildByTag("Line", -1), root.GetChildAt(2 * pairs - 2));
        EXPECT_EQ(root.GetMatchCount(), pairs);
        EXPECT_EQ(root.GetChildByTag("Other[1]", 99)->GetIndex(), 2);
        EXPECT_EQ(root.GetChildByTag("Other[99]", 1), nullptr);
        EXPECT_EQ(root.GetMatchCount(), pairs);
        root.GetChildAt(1)->SetTagName("Line");
        EXPECT_EQ(root.GetChildByTag("Line", 2), root.GetChildAt(1));
        EXPECT_TRUE(root.InsertChildBefore(0, std::make_unique<CXML>("Line").release()));
        EXPECT_EQ(root.GetChildByTag("Line", 1), root.GetChildAt(0));
        EXPECT_EQ(root.GetChildCountByTag("Line"), pairs + 2);
        add(root, "Line");
        EXPECT_EQ(root.GetChildByTag("Line", pairs + 3), root.GetChildAt(2 * pairs + 1));
        root.RemoveChildByTag("Line", 1);
        EXPECT_EQ(root.GetChildCountByTag("Line"), pairs + 2);
        root.RemoveChildByTag("Line", -1);
        EXPECT_EQ(root.GetChildCount(), pairs - 1);
        EXPECT_EQ(root.GetChildByTag("Line", 1), nullptr);
    }
}

TEST_F(Xml, moves_the_child_cursor_with_its_child) {
    CXML root("R");
    CXML* const first = add(root, "A");
    CXML* const second = add(root, "B");
    EXPECT_EQ(root.GetFirstChild(), first);
    EXPECT_EQ(root.GetPrevChild(), nullptr);
    EXPECT_EQ(root.GetNextChild(), second);
    root.InsertChildBefore(0, std::make_unique<CXML>("Z").release());
    EXPECT_EQ(root.GetCurrentChild(), second);
    root.RemoveAt(0);
    EXPECT_EQ(root.GetCurrentChild(), second);
    EXPECT_EQ(root.GetNextChild(), nullptr);
    EXPECT_EQ(root.GetNextChild(), nullptr);
    EXPECT_EQ(root.GetPrevChild(), second);
    EXPECT_EQ(root.SetCurrentChild(first), first);
    root.RemoveCurrentChild();
    EXPECT_EQ(root.GetCurrentChild(), second);
    EXPECT_EQ(root.SetCurrentChild(&root), nullptr);
}

TEST_F(Xml, refuses_children_it_cannot_place) {
    CXML root("R");
    CXML lost("L");
    EXPECT_FALSE(root.AddChild(nullptr));
    EXPECT_TRUE(CXML::m_bOperStatus);
    for (const int position : {-1, 0, 1})
        EXPECT_FALSE(root.InsertChildBefore(position, &lost));
    EXPECT_FALSE(root.Adopt(std::make_unique<CXML>()));
    EXPECT_EQ(CXML::m_strOperErrDesc, kNameless);
    root.RemoveAt(-1);
    root.RemoveAt(0);
    EXPECT_EQ(root.GetChildAt(-1), nullptr);
}

TEST_F(Xml, orders_by_name_and_by_id) {
    CXML root("R");
    for (const char* const name : {"b", "C", "a", "B"})
        add(root, "E", "NAME", name);
    root.SortByName();
    auto last = std::make_unique<CXML>("E");
    last->SetAttr("NAME", "b");
    EXPECT_TRUE(root.AddChildByName(last.release()));
    std::string names;
    for (CXML* child = root.GetFirstChild(); child != nullptr; child = root.GetNextChild())
        names += child->GetAttr("NAME");
    EXPECT_EQ(names, "abBbC");
    EXPECT_EQ(root.FindByName("c"), root.GetChildAt(4));
    CXML ids("R");
    for (const int id : {30, 4, 100}) {
        auto child = std::make_unique<CXML>("E");
        child->SetAttr("ID", id);
        EXPECT_TRUE(ids.AddChildById(child.release()));
    }
    EXPECT_EQ(ids.GetXML(), "<R><E ID=\"4\"></E><E ID=\"30\"></E><E ID=\"100\"></E></R>");
}

TEST_F(Xml, keeps_attributes_sorted_and_single) {
    CXML root("R");
    root.SetAttr("b", 5);
    EXPECT_EQ(root.GetAttr("b"), "       5");
    EXPECT_EQ(root.GetAttrInt("b"), 5);
    root.SetAttr("B", 2.5);
    root.SetAttrUS("a", 1);
    root.AddAttr(std::make_unique<CAttribute>("b", "x").release());
    EXPECT_EQ(root.GetXML(), "<R B=\"2.500000\" a=\"1.00\" b=\"x\"></R>");
    EXPECT_EQ(root.GetAttrTextUS("none").view(), "0.00");
    EXPECT_EQ(root.GetFirstAttribute()->GetAttributeName().view(), "B");
    root.RemoveAttr("B");
    EXPECT_EQ(root.GetCurrentAttribute()->GetAttributeName().view(), "a");
    EXPECT_EQ(root.GetPrevAttribute(), nullptr);
    EXPECT_EQ(root.GetLastAttribute()->GetAttributeName().view(), "b");
    root.RemoveCurrentAttr();
    EXPECT_EQ(root.GetCurrentAttribute(), nullptr);
    EXPECT_EQ(root.GetAttrCount(), 1);
}

TEST_F(Xml, indents_the_debug_form) {
    CXML root;
    root.LoadXML("<A x=\"1\">t<B/></A>");
    EXPECT_EQ(root.XMLDebug(1), "    <A x=\"1\">\nt\n        <B>\n        </B>\n    </A>\n");
}

class XmlFile : public Xml {
  protected:
    XmlFile() { EXPECT_NE(mkdtemp(folder_), nullptr); }
    ~XmlFile() override {
        unlink(path().c_str());
        rmdir(folder_);
    }
    std::string path() const { return std::string(folder_) + "/file.xml"; }
    void fill(const std::string& text) const { std::ofstream(path()) << text; }
    std::string content() const {
        std::ostringstream out;
        out << std::ifstream(path()).rdbuf();
        return out.str();
    }

  private:
    char folder_[32] = "/tmp/xml_test.XXXXXX";
};

TEST_F(XmlFile, saves_over_the_file_it_opened_and_leaves_a_longer_tail) {
    fill("<A>" + std::string(200000, 'x') + "</A>");
    CXML root;
    ASSERT_TRUE(root.OpenFile(path()));
    EXPECT_EQ(root.GetText().GetLength(), 200000);
    fill("0123456789");
    root.ResetContents();
    EXPECT_TRUE(root.SaveFile(""));
    EXPECT_EQ(content(), "<A></A>789");
}

TEST_F(XmlFile, tells_why_a_file_cannot_be_read) {
    CXML root;
    EXPECT_FALSE(root.OpenFile(""));
    EXPECT_EQ(CXML::m_strOperErrDesc, "Input XML file name is empty");
    EXPECT_FALSE(root.OpenFile(path()));
    EXPECT_EQ(CXML::m_strOperErrDesc, "Fail to open input XML file");
    EXPECT_TRUE(CXML::m_bOperStatus) << "neither touches the flag";
    EXPECT_FALSE(root.OpenFile("/tmp")) << "a folder opens, but does not read";
    EXPECT_FALSE(root.SaveFile(path() + "/below"));
}

TEST_F(XmlFile, leaves_a_file_or_a_pipe_behind_the_last_token) {
    const std::string text = "ab<A><B/></A>rest";
    fill(text);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    ASSERT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(ends[1]);
    const int file = open(path().c_str(), O_RDONLY | O_CLOEXEC);
    for (const int descriptor : {file, ends[0]}) {
        CXML root;
        const CMabString token = root.GetNextLine(descriptor);
        EXPECT_EQ(token.view(), "<A>");
        EXPECT_EQ(root.GetText().view(), "ab");
        EXPECT_TRUE(root.ParseBlock(token, descriptor));
        EXPECT_EQ(root.GetXML(), "<A><B></B></A>");
        EXPECT_TRUE(root.GetNextLine(descriptor).IsEmpty());
        EXPECT_TRUE(root.IsEndOfData());
        EXPECT_EQ(root.GetText().view(), "rest");
        close(descriptor);
    }
}

}  // namespace
