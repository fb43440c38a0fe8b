#include "xml_doc/xml.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "sandbox.h"
#include "xml_doc/well_formed.h"

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

const ReadCase kWellFormed[] = {
    {"<A/>", "<A></A>"},
    {"<A a=\"1\" a=\"2\"/>", "<A a=\"2\"></A>"},
    {"<A a = \"  v w \"></A>", "<A a=\"v w\"></A>"},
    {"<A a=\"x>y/\"><B/></A>", "<A a=\"x>y/\"><B></B></A>"},
    {"<?xml version=\"1.0\"?>\n<?pi?><A></A>", "<A></A>"},
    {"<A><!-- c --><?pi?><B></B></A>", "<A><B></B></A>"},
    {"<A>\n<B>\n</B>\n</A>\n", "<A><B></B></A>"},
    {"<A>  <B/></A>", "<A>  <B></B></A>"},
    {"<A>\n\nx<B/>y</A>", "<A>xy<B></B></A>"},
    {"<A>say \"a<b\" now</A>", "<A>say \"a<b\" now</A>"},
    {"<A>&lt;&dq;&unknown;</A>", "<A>&lt;&dq;&unknown;</A>"},
    {"<A>caf\xC3\xA9 \xFF</A>", "<A>caf\xC3\xA9 \xFF</A>"},
    {"<A><></A>", "<A></A>"},
    {"<A><B>", "<A><B></B></A>"},
    {"<A>cut", "<A>cut</A>"},
};

TEST_F(Xml, reads_and_writes_back_what_is_well_formed) {
    for (const ReadCase& one : kWellFormed) {
        CXML root;
        EXPECT_TRUE(root.LoadXML(one.text));
        EXPECT_EQ(root.GetXML(), one.written);
        EXPECT_TRUE(CXML::m_bOperStatus) << one.text << CXML::m_strOperErrDesc;
        EXPECT_TRUE(relay_hub::is_well_formed(one.text));
    }
}

struct BadCase {
    std::string text;
    std::string written;
    const char* failure;
};

constexpr const char* kIncomplete = "Warning Tag Block is Incomplete";
constexpr const char* kNameless = "No Valid Tag Name";
constexpr const char* kStrayB = "Warning Element Terminator exists without matching initial Block /B";

const BadCase kMalformed[] = {
    {"", "<></>", kNameless},
    {"no markup at all", "<></>", kNameless},
    {"<>", "<></>", kNameless},
    {"< A></A>", "<></>", kNameless},
    {"<AB", "<AB></AB>", kIncomplete},
    {"<A><B/><CD", "<A><B></B><CD></CD></A>", kIncomplete},
    {"<A b=1></A>", "<A></A>", kIncomplete},
    {"<A b=\"1></A>", "<A></A>", kIncomplete},
    {"<A><B/><C d=\"1></C></A>", "<A><B></B></A>", kIncomplete},
    {std::string("<A b=\"\0\"></A>", 13), "<A></A>", kIncomplete},
    {"</B>", "</B><//B>", kStrayB},
    {"<A></B></A>", "<A></B></A><//A><//B></A>",
     "Warning Element Terminator exists without matching initial Block /A"},
};

TEST_F(Xml, tells_what_is_malformed_and_keeps_what_could_be_read) {
    for (const BadCase& one : kMalformed) {
        CXML root;
        root.LoadXML(one.text);
        EXPECT_FALSE(CXML::m_bOperStatus) << one.text;
        EXPECT_EQ(CXML::m_strOperErrDesc, one.failure);
        EXPECT_EQ(root.GetXML(), one.written);
        EXPECT_FALSE(relay_hub::is_well_formed(one.text));
    }
}

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

CXML* add(CXML& parent, const char* tag) {
    auto child = std::make_unique<CXML>(tag);
    CXML* const added = child.get();
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
        EXPECT_EQ(root.GetChildByTag("Line", -1), root.GetChildAt(2 * pairs - 2));
        EXPECT_EQ(root.GetChildByTag("Other[1]", 99)->GetIndex(), 2);
        EXPECT_EQ(root.GetChildByTag("Other[99]", 1), nullptr);
        root.GetChildAt(1)->SetTagName("Line");
        EXPECT_EQ(root.GetChildByTag("Line", 2), root.GetChildAt(1));
        EXPECT_TRUE(root.InsertChildBefore(0, std::make_unique<CXML>("Line").release()));
        EXPECT_EQ(root.GetChildByTag("Line", 1), root.GetChildAt(0));
        root.RemoveChildByTag("Line", 1);
        EXPECT_EQ(root.GetChildCountByTag("Line"), pairs + 1);
        root.RemoveChildByTag("Line", -1);
        EXPECT_EQ(root.GetChildCount(), pairs - 1);
        EXPECT_EQ(root.GetChildByTag("Line", 1), nullptr);
    }
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
}

class XmlFile : public Xml {
  protected:
    test::Sandbox folder_;
    std::string path_ = folder_.at("file.xml");
};

TEST_F(XmlFile, saves_over_the_file_it_opened_and_leaves_a_longer_tail) {
    test::put(path_, "<A>" + std::string(200000, 'x') + "</A>");
    CXML root;
    ASSERT_TRUE(root.OpenFile(path_));
    EXPECT_EQ(root.GetText().GetLength(), 200000);
    test::put(path_, "0123456789");
    root.ResetContents();
    EXPECT_TRUE(root.SaveFile(""));
    EXPECT_EQ(test::content(path_), "<A></A>789");
}

TEST_F(XmlFile, tells_why_a_file_cannot_be_read) {
    CXML root;
    EXPECT_FALSE(root.OpenFile(""));
    EXPECT_EQ(CXML::m_strOperErrDesc, "Input XML file name is empty");
    EXPECT_FALSE(root.OpenFile(path_));
    EXPECT_EQ(CXML::m_strOperErrDesc, "Fail to open input XML file");
    EXPECT_TRUE(CXML::m_bOperStatus) << "neither touches the flag";
    EXPECT_FALSE(root.OpenFile("/tmp")) << "a folder opens, but does not read";
    EXPECT_FALSE(root.SaveFile(path_ + "/below"));
}

TEST_F(XmlFile, leaves_a_file_or_a_pipe_behind_the_last_token) {
    const std::string text = "ab<A><B/></A>rest";
    test::put(path_, text);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    ASSERT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(ends[1]);
    const int file = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
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
