// The message document: the first line is loaded, each further one is an operation, its path and its value:
// "g/ZEVMSG/A|text" generates. All of it is read by the element reader as well, from memory and from a file.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>

#include "base/file_descriptor.h"
#include "fuzz_input.h"
#include "xml_doc/xml.h"
#include "xml_doc/zev_xml.h"

namespace {

using Text = std::string;

// A path may ask for as many elements as its index says; no caller of ours asks for many.
bool asks_for_many(const Text& path) {
    int digits = 0;
    return std::any_of(path.begin(), path.end(), [&digits](char c) {
        digits = std::isdigit(static_cast<unsigned char>(c)) != 0 ? digits + 1 : 0;
        return digits > 2;
    });
}

using Change = void (*)(CZEVXML& document, CZEVXML& other, const Text& path, const Text& value);
constexpr std::pair<char, Change> kChanges[] = {
    {'g', [](auto& d, auto&, auto& path, auto& value) { d.Generate(path, value, true); }},
    {'a', [](auto& d, auto&, auto& path, auto& value) { d.GenerateAttribute(path, "name", value, true); }},
    {'d', [](auto& d, auto&, auto& path, auto&) { d.Delete(path); }},
    {'c', [](auto& d, auto&, auto& path, auto& value) { d.ChangePath(path, value); }},
    {'r', [](auto& d, auto&, auto& path, auto& value) { d.RevisePath(path, value); }},
    {'x', [](auto& d, auto&, auto& path, auto& value) { d.AppendChild(path, value); }},
    {'s', [](auto& d, auto&, auto& path, auto& value) { d.AppendSibling(path, value); }},
    {'m', [](auto& d, auto&, auto& path, auto& value) { d.MergeMRS(path, value); }},
    {'e', [](auto& d, auto& other, auto& path, auto&) { d.ExtractMRS(path, other); }},
    {'o', [](auto& d, auto&, auto&, auto& value) { d.CopyRootAttr(value); }},
    {'f', [](auto& d, auto&, auto&, auto&) { d.ReFormat(); }},
    {'n', [](auto& d, auto&, auto&, auto&) { d.AddNew(); }},
    {'u', [](auto& d, auto&, auto&, auto&) { d.Update(); }},
    {'+', [](auto& d, auto&, auto&, auto&) { d.MoveNext(); }},
    {'-', [](auto& d, auto&, auto&, auto&) { d.MovePrev(); }},
    {'$', [](auto& d, auto&, auto&, auto&) { d.MoveLast(); }},
};

void change(CZEVXML& document, char operation, const Text& path, const Text& value) {
    CZEVXML other;
    for (const auto& [letter, make] : kChanges)
        if (letter == operation && !asks_for_many(path) && !asks_for_many(value))
            make(document, other, path, value);
}

void look_up(CZEVXML& document, const Text& path) {
    std::vector<std::string> tags;
    (void)document.QueryDbl(path);
    (void)document.QueryInt(path);
    (void)document.QueryAttribute(path, "name");
    (void)document.FindTagByAttr(path, "name", "value");
    document.GetTagArray(path, tags);
    (void)document.GetMRSCount(path);
}

// What one side generates, the other side queries; layout bytes at a text's ends are the reader's own matter.
void check_round_trip(const Text& value) {
    if (value.empty() || std::any_of(value.begin(), value.end(), [](unsigned char c) { return c <= ' '; }))
        return;
    CZEVXML sent, received;
    sent.Generate("A/B[2]", value);
    check(received.LoadXML(sent.GetXML()), "a generated document can be loaded");
    check(received.Query("A/B[2]") == value, "a value travels unchanged");
}

int depth_of(const CXML& element, int level) {
    int deepest = level;
    for (int at = 0; at < element.GetChildCount(); ++at)
        deepest = std::max(deepest, depth_of(*element.GetChildAt(at), level + 1));
    return deepest;
}

void look_at(CXML& element) {
    for (CAttribute* each = element.GetFirstAttribute(); each != nullptr; each = element.GetNextAttribute()) {
        const CMabString& name = each->GetAttributeName();
        check(element.GetAttributePointer(name.c_str()) == each, "an attribute is found by its name");
        (void)each->GetAttributeDouble();
    }
    for (CXML* child = element.GetLastChild(); child != nullptr; child = element.GetPrevChild()) {
        const std::string tag = child->GetTag();
        if (tag.find('[') != std::string::npos)  // would be taken for an index
            continue;
        const int count = element.GetChildCountByTag(tag);
        check(count > 0 && element.GetChildByTag(tag, count) != nullptr, "a child is found by its tag");
        element.SetCurrentChild(child);
    }
}

void read_elements(const Text& text) {
    CXML element, from_file;
    element.LoadXML(text);
    const std::string written = element.GetXML();
    check(depth_of(element, 1) <= CXML::kMaxDepth, "the depth is bounded");
    const relay_hub::FileDescriptor file(::memfd_create("elements", MFD_CLOEXEC));
    check(relay_hub::write_all(file.get(), text.data(), text.size()) == 0, "a file");
    ::lseek(file.get(), 0, SEEK_SET);
    from_file.XMLRead(file.get());
    check(from_file.GetXML() == written, "a file reads as memory does");
    check(element.Copy()->GetXML() == written, "a copy is the same");
    look_at(element);
    element.SortByName();
    element.SortById();
    (void)element.XMLDebug(0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view remaining = text_of(data, size);
    read_elements(std::string(remaining));
    CZEVXML document;
    (void)document.LoadXML(take_part(remaining, '\n'));
    // Grafting a document into itself can double it each time.
    for (int count = 0; count < 32 && !remaining.empty() && document.GetXML().size() < 100'000; ++count) {
        const char operation = remaining.front();
        const std::string whole = take_part(remaining, '\n');
        std::string_view line = std::string_view(whole).substr(std::min<std::size_t>(whole.size(), 1));
        const std::string path = take_part(line, '|'), value(line);
        look_up(document, path);
        change(document, operation, path, value);
        check_round_trip(value);
    }
    (void)document.PrettyXML();
    return 0;
}
