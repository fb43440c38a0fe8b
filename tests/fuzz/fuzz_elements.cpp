// The element reader: any bytes, from memory and from a file.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "fuzz_input.h"
#include "xml_doc/xml.h"

namespace {

int depth_of(const CXML& element, int level) {
    int deepest = level;
    for (int at = 0; at < element.GetChildCount(); ++at)
        deepest = std::max(deepest, depth_of(*element.GetChildAt(at), level + 1));
    return deepest;
}

void look_at(CXML& element) {
    for (CAttribute* each = element.GetFirstAttribute(); each != nullptr; each = element.GetNextAttribute()) {
        const CMabString& name = each->GetAttributeName();
        fuzz::check(element.GetAttributePointer(name.c_str()) == each, "an attribute is found by its name");
        (void)each->GetAttributeDouble();
    }
    for (CXML* child = element.GetLastChild(); child != nullptr; child = element.GetPrevChild()) {
        const std::string tag = child->GetTag();
        if (tag.find('[') != std::string::npos)  // would be taken for an index
            continue;
        const int count = element.GetChildCountByTag(tag);
        fuzz::check(count > 0 && element.GetChildByTag(tag, count) != nullptr, "a child is found by its tag");
        element.SetCurrentChild(child);
    }
}

std::string read_from_file(std::string_view text) {
    const int file = ::memfd_create("elements", MFD_CLOEXEC);
    fuzz::check(::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()), "a file");
    ::lseek(file, 0, SEEK_SET);
    CXML element;
    element.XMLRead(file);
    ::close(file);
    return element.GetXML();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(fuzz::text_of(data, size));
    CXML element;
    element.LoadXML(text);
    const std::string written = element.GetXML();
    fuzz::check(depth_of(element, 1) <= CXML::kMaxDepth, "the depth is bounded");
    fuzz::check(read_from_file(text) == written, "a file reads as memory does");
    fuzz::check(element.Copy()->GetXML() == written, "a copy is the same");
    look_at(element);
    element.SortByName();
    element.SortById();
    CXML again;
    again.LoadXML(written);
    (void)again.XMLDebug(0);
    return 0;
}
