#include <limits>

#include "base/file_descriptor.h"
#include "xml_doc/tree_walk.h"
#include "xml_doc/xml.h"

namespace {

void append_end_tag(std::string& out, const CXML& element) {
    out.append("</").append(element.GetTagName().view()).append(">");
}

}  // namespace

void CXML::append_start_tag(std::string& out) const {
    out.append("<").append(m_tagName.view());
    if (m_attributes) {
        for (const auto& attribute : m_attributes->set) {
            attribute->TrimValue();
            out.append(" ").append(attribute->GetAttributeName().view());
            out.append("=\"").append(attribute->GetAttributeText().view()).append("\"");
        }
    }
    out.append(">");
}

std::string CXML::GetXML() {
    std::string out;
    const auto enter = [&](const CXML& element, int) {
        element.append_start_tag(out);
        out.append(element.m_text.view());
        return true;
    };
    relay_hub::walk_tree(*this, enter, [&](const CXML& element, int) { append_end_tag(out, element); });
    return out;
}

std::string CXML::XMLDebug(int level) {
    constexpr size_t indent = 4;
    std::string out;
    const auto start_line = [&](int below) { out.append(indent * static_cast<size_t>(level + below), ' '); };
    const auto enter = [&](const CXML& element, int below) {
        start_line(below);
        element.append_start_tag(out);
        out.append("\n");
        if (!element.m_text.IsEmpty())
            out.append(element.m_text.view()).append("\n");
        return true;
    };
    const auto leave = [&](const CXML& element, int below) {
        start_line(below);
        append_end_tag(out, element);
        out.append("\n");
    };
    relay_hub::walk_tree(*this, enter, leave);
    return out;
}

bool CXML::XMLWrite(CVMemFile& file) {
    const std::string text = GetXML();
    if (text.size() > std::numeric_limits<unsigned int>::max())
        return false;
    const auto length = static_cast<unsigned int>(text.size());
    return file.Write(text.data(), length) == length;
}

bool CXML::XMLWrite(int descriptor) {
    const std::string text = GetXML();
    return relay_hub::write_all(descriptor, text.data(), text.size()) == 0;
}
