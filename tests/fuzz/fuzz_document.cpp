// The message document: the first line is loaded, each further one is an operation, its path and its value:
// "g/ZEVMSG/A|text" generates.
#include <algorithm>
#include <cctype>

#include "fuzz_input.h"
#include "xml_doc/well_formed.h"
#include "xml_doc/zev_xml.h"

namespace {

// A path may ask for as many elements as its index says; no caller of ours asks for many.
bool asks_for_many(const std::string& path) {
    int digits = 0;
    return std::any_of(path.begin(), path.end(), [&digits](char c) {
        digits = std::isdigit(static_cast<unsigned char>(c)) != 0 ? digits + 1 : 0;
        return digits > 2;
    });
}

void change(CZEVXML& document, char operation, const std::string& path, const std::string& value) {
    CZEVXML other;
    switch (operation) {
        case 'g':
            document.Generate(path, value, true);
            break;
        case 'a':
            document.GenerateAttribute(path, "name", value, true);
            break;
        case 'd':
            document.Delete(path);
            break;
        case 'c':
            document.ChangePath(path, value);
            break;
        case 'r':
            document.RevisePath(path, value);
            break;
        case 'x':
            document.AppendChild(path, value);
            break;
        case 's':
            document.AppendSibling(path, value);
            break;
        case 'm':
            document.MergeMRS(path, value);
            break;
        case 'e':
            document.ExtractMRS(path, other);
            break;
        case 'o':
            document.CopyRootAttr(value);
            break;
        case 'f':
            document.ReFormat();
            break;
        case 'n':
            document.AddNew();
            break;
        case 'u':
            document.Update();
            break;
        case '+':
            document.MoveNext();
            break;
        case '-':
            document.MovePrev();
            break;
        case '$':
            document.MoveLast();
            break;
        default:
            break;
    }
}

void look_up(CZEVXML& document, const std::string& path) {
    std::vector<std::string> tags;
    (void)document.Query(path);
    (void)document.QueryDbl(path);
    (void)document.QueryInt(path);
    (void)document.QueryAttribute(path, "name");
    (void)document.FindTagByAttr(path, "name", "value");
    document.GetTagArray(path, tags);
    (void)document.GetMRSCount(path);
}

// What one side generates, the other side queries; layout bytes at a text's ends are the reader's own matter.
void check_round_trip(const std::string& value) {
    if (value.empty() || std::any_of(value.begin(), value.end(), [](unsigned char c) { return c <= ' '; }))
        return;
    CZEVXML sent;
    sent.Generate("A/B[2]", value);
    fuzz::check(sent.Query("A/B[2]") == value, "a generated value is found");
    CZEVXML received;
    fuzz::check(received.LoadXML(sent.GetXML()), "a generated document can be loaded");
    fuzz::check(received.Query("A/B[2]") == value, "a value travels unchanged");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest = fuzz::text_of(data, size);
    CZEVXML document;
    const std::string text = fuzz::take_part(rest, '\n');
    const bool loaded = document.LoadXML(text);
    fuzz::check(loaded == relay_hub::is_well_formed(text), "the check without a tree judges alike");
    for (int count = 0; count < 32 && !rest.empty(); ++count) {
        const std::string line = fuzz::take_part(rest, '\n');
        std::string_view arguments = std::string_view(line).substr(line.empty() ? 0 : 1);
        const std::string path = fuzz::take_part(arguments, '|');
        const std::string value(arguments);
        look_up(document, path);
        if (!line.empty() && !asks_for_many(path) && !asks_for_many(value))
            change(document, line.front(), path, value);
        check_round_trip(value);
        // Grafting a document into itself can double it each time.
        if (document.GetXML().size() > 100'000)
            break;
    }
    (void)document.PrettyXML();
    return 0;
}
