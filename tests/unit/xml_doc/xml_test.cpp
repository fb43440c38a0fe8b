#include "xml_doc/xml.h"

#include <sys/mman.h>

#include "pipe.h"
#include "sandbox.h"

namespace {

class Xml : public testing::Test {
  protected:
    Xml() {
        CXML::m_bOperStatus = true;
        CXML::m_strOperErrDesc.clear();
    }
};

constexpr const char* kIncomplete = "Warning Tag Block is Incomplete";
constexpr const char* kNameless = "No Valid Tag Name";
constexpr const char* kStray = "Warning Element Terminator exists without matching initial Block ";

const std::tuple<std::string, std::string, std::string> kDocuments[] = {
    {"<A/>", "<A></A>", ""},
    {"<A a=\"1\" a=\"2\"/>", "<A a=\"2\"></A>", ""},
    {"<A a = \"  v w \"></A>", "<A a=\"v w\"></A>", ""},
    {"<A a=\"x>y/\"><B/></A>", "<A a=\"x>y/\"><B></B></A>", ""},
    {"<?xml version=\"1.0\"?>\n<?pi?><A></A>", "<A></A>", ""},
    {"<A><!-- c --><?pi?><B></B></A>", "<A><B></B></A>", ""},
    {"<A>a<!-- <B> \"c --><?p a>b?>d</A>", "<A>ad</A>", ""},
    {"<A>a<![CDATA[<b> & \"]]>c</A>", "<A>a&lt;b> &amp; \"c</A>", ""},
    {"<A>\n<B>\n</B>\n</A>\n", "<A><B></B></A>", ""},
    {"<A>  <B/></A>", "<A>  <B></B></A>", ""},
    {"<A>\n\nx<B/>y</A>", "<A>xy<B></B></A>", ""},
    {"<A>say \"a<b\" now</A>", "<A>say \"a<b\" now</A>", ""},
    {"<A>&lt;&dq;&unknown;</A>", "<A>&lt;&dq;&unknown;</A>", ""},
    {"<A>caf\xC3\xA9 \xFF</A>", "<A>caf\xC3\xA9 \xFF</A>", ""},
    {"<A><></A>", "<A></A>", ""},
    {"<A><B>", "<A><B></B></A>", ""},
    {"<A>cut", "<A>cut</A>", ""},
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
    {"</B>", "</B><//B>", std::string(kStray) + "/B"},
    {"<A></B></A>", "<A></B></A><//A><//B></A>", std::string(kStray) + "/A"},
};

TEST_F(Xml, keeps_what_could_be_read_and_tells_what_is_malformed) {
    for (const auto& [text, written, failure] : kDocuments) {
        CXML::m_bOperStatus = true;
        CXML::m_strOperErrDesc.clear();
        CXML root;
        root.LoadXML(text);
        EXPECT_EQ(root.GetXML(), written) << text;
        EXPECT_EQ(CXML::m_strOperErrDesc, failure) << text;
        EXPECT_EQ(CXML::m_bOperStatus, failure.empty()) << text;
    }
}

TEST_F(Xml, reads_a_file_and_a_pipe_as_it_reads_memory) {
    constexpr std::size_t kReadAhead = 65536;
    for (const auto& [text, written, _] : kDocuments) {
        for (std::size_t in_first_read = 0; in_first_read <= text.size(); ++in_first_read) {
            const std::string late = std::string(kReadAhead - in_first_read, ' ') + text;
            const relay_hub::FileDescriptor file(memfd_create("document", MFD_CLOEXEC));
            ASSERT_EQ(relay_hub::write_all(file.get(), late.data(), late.size()), 0);
            ASSERT_EQ(lseek(file.get(), 0, SEEK_SET), 0);
            CXML root;
            root.XMLRead(file.get());
            EXPECT_EQ(root.GetXML(), written) << text << " cut at " << in_first_read;
        }
        test::Pipe pipe;
        pipe.put(text);
        pipe.writer.reset();
        CXML root;
        root.XMLRead(pipe.reader.get());
        EXPECT_EQ(root.GetXML(), written) << text << " from a pipe";
    }
}

std::string repeated(const std::string& piece, int times) {
    std::string text;
    for (int turn = 0; turn < times; ++turn)
        text += piece;
    return text;
}

TEST_F(Xml, refuses_to_read_deeper_than_the_limit) {
    for (const int excess : {0, 1}) {
        const int depth = CXML::kMaxDepth + excess;
        const std::string text = repeated("<A>", depth) + repeated("</A>", depth);
        CXML root;
        root.LoadXML(text);
        EXPECT_EQ(root.GetXML() == text, excess == 0);
        EXPECT_EQ(CXML::m_bOperStatus, excess == 0);
    }
}

CXML* add(CXML& parent, const char* tag) {
    auto child = std::make_unique<CXML>(tag);
    CXML* const added = child.get();
    parent.Adopt(std::move(child));
    return added;
}

TEST_F(Xml, builds_copies_searches_writes_and_destroys_any_depth) {
    constexpr int levels = 200000;
    CXML root("A");
    CXML* deepest = &root;
    for (int level = 1; level < levels; ++level)
        deepest = add(*deepest, "A");
    deepest->SetAttr("ID", 7);
    EXPECT_EQ(root.FindByID(7), deepest);
    EXPECT_EQ(root.Copy()->GetXML().size(), std::size_t{levels} * 7 + 7);
}

// Whoever looks at every pair of elements here does not end in the time that a test has.
TEST_F(Xml, reads_huge_input_in_one_pass) {
    constexpr int many = 300000;
    std::string attributes = "<A";
    for (int number = many; number > 0; --number)
        attributes += " a" + std::to_string(number) + "=\"\"";
    CXML root;
    root.LoadXML(attributes + "/>");
    EXPECT_EQ(root.GetAttrCount(), many);
    root.LoadXML("<A>" + repeated("<b></b>", 1000000));
    EXPECT_EQ(root.GetChildCount(), 1000000);
    EXPECT_NE(root.GetChildByTag("B", 1000000), nullptr);
    root.LoadXML("<A>\"" + repeated("<b>", many));
    EXPECT_EQ(root.GetText().GetLength(), many * 3 + 1);
    root.LoadXML("<A>" + std::string(many, '\n') + repeated("xy<b/>", many));
    EXPECT_EQ(root.GetText().GetLength(), many * 2);
    root.LoadXML("<A>" + repeated("<b a=\"", many));
    root.LoadXML(repeated("</b>", many));
    EXPECT_FALSE(CXML::m_bOperStatus);
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

TEST_F(Xml, saves_over_the_tail_of_a_file_and_tells_why_one_cannot_be_read) {
    const test::Sandbox folder;
    const std::string path = folder.make_file("file.xml", "<A>" + std::string(200000, 'x') + "</A>");
    CXML root;
    ASSERT_TRUE(root.OpenFile(path));
    EXPECT_EQ(root.GetText().GetLength(), 200000);
    test::put(path, "0123456789");
    root.ResetContents();
    EXPECT_TRUE(root.SaveFile(""));
    EXPECT_EQ(test::content(path), "<A></A>789");
    EXPECT_FALSE(root.OpenFile("/tmp")) << "a folder opens, but does not read";
    EXPECT_FALSE(root.OpenFile(folder.at("none")));
    EXPECT_EQ(CXML::m_strOperErrDesc, "Fail to open input XML file");
}

TEST_F(Xml, edits_elements_and_attributes) {
    const std::string before = R"(<A k="1"><C ID="3" NAME="c"></C><E ID="5" NAME="e"></E></A>)";
    const auto named = [](const char* name, int id) {
        auto made = std::make_unique<CXML>("D");
        made->SetAttr("NAME", name);
        made->SetAttr("ID", id);
        return made.release();
    };
    const std::string d = R"(<D ID="4" NAME="D"></D>)", c = R"(<C ID="3" NAME="c"></C>)",
                      e = R"(<E ID="5" NAME="e"></E>)";
    const std::tuple<const char*, std::function<void(CXML&)>, std::string> cases[] = {
        {"add_by_name", [&](CXML& a) { a.AddChildByName(named("D", 4)); },
         R"(<A k="1">)" + c + d + e + "</A>"},
        {"add_by_id", [&](CXML& a) { a.AddChildById(named("D", 4)); }, R"(<A k="1">)" + c + d + e + "</A>"},
        {"remove_at", [](CXML& a) { a.RemoveAt(0), a.RemoveAt(7); }, R"(<A k="1">)" + e + "</A>"},
        {"remove_current", [](CXML& a) { a.GetFirstChild(), a.GetNextChild(), a.RemoveCurrentChild(); },
         R"(<A k="1">)" + c + "</A>"},
        {"found_by_name", [](CXML& a) { a.FindByName("e")->SetTagName("F"); },
         R"(<A k="1">)" + c + R"(<F ID="5" NAME="e"></F></A>)"},
        {"not_found", [](CXML& a) { a.FindByName("x") == nullptr ? a.ResetContents() : (void)0; }, "<A></A>"},
        {"attribute_added",
         [](CXML& a) {
             a.ResetContents(), a.AddAttr(new CAttribute("z", "1")), a.AddAttr(new CAttribute("z", "2"));
         },
         R"(<A z="2"></A>)"},
        {"attribute_removed",
         [](CXML& a) { a.RemoveAttr("k"), a.RemoveAttr("none"), a.RemoveAt(0), a.RemoveAt(0); }, "<A></A>"},
        {"current_attribute",
         [](CXML& a) {
             a.ResetContents(), a.SetAttr("x", 1), a.SetAttr("y", 2);
             a.SetCurrentAttr(a.GetAttributePointer("x")), a.RemoveCurrentAttr();
         },
         R"(<A y="2"></A>)"},
        {"attribute_cursor",
         [](CXML& a) {
             a.ResetContents(), a.SetAttr("x", 1), a.SetAttr("y", 2);
             const CAttribute* last = a.GetLastAttribute();
             const CAttribute* first = a.GetPrevAttribute();
             a.SetText((first->GetAttributeName() + last->GetAttributeName()).c_str());
             EXPECT_EQ(a.GetPrevAttribute(), nullptr);
         },
         R"(<A x="1" y="2">xy</A>)"},
        {"money_attribute",
         [](CXML& a) {
             a.ResetContents(), a.SetAttrUS("m", 2.5);
             a.SetText((a.GetAttrTextUS("m") + a.GetAttrTextUS("none")).c_str());
         },
         R"(<A m="2.50">2.500.00</A>)"},
    };
    for (const auto& [name, edit, after] : cases) {
        CXML root;
        ASSERT_TRUE(root.LoadXML(before));
        edit(root);
        EXPECT_EQ(root.GetXML(), after) << name;
    }
    EXPECT_TRUE(CXML::IsAlpha('q') && !CXML::IsAlpha('1'));
}

}  // namespace
