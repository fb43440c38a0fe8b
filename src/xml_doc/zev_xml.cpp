#include "xml_doc/zev_xml.h"

#include <cstdlib>

#include "base/message_escape.h"
#include "xml_doc/message_writer.h"
#include "xml_doc/number_text.h"
#include "xml_doc/tree_walk.h"

namespace {

constexpr const char* kStart = "<ZEVMSG>";
constexpr const char* kEnd = "</ZEVMSG>";
constexpr const char* kRootPath = "/ZEVMSG";
constexpr const char* kTagNotFound = "Tag not found";
constexpr const char* kNoAttributeName = "Attribute should not be empty string";

std::string escaped(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    relay_hub::append_escaped(out, text);
    return out;
}

// Gives `parent` what the text holds: of a whole message its elements, else the element itself.
bool graft(CXML& parent, const std::string& xml) {
    auto parsed = std::make_unique<CXML>();
    parsed->LoadXML(xml);
    if (parsed->GetTagName().view() != wire::kRoot)
        return parent.Adopt(std::move(parsed));
    parent.AdoptChildrenOf(*parsed);
    return true;
}

void remove_named(CXML& parent, CXML& element, int nth) {
    const std::string name = element.GetTag();
    element.ResetContents();
    parent.RemoveChildByTag(name, nth);
}

}  // namespace

CZEVXML::CZEVXML() : m_root(wire::kRoot) {}

void CZEVXML::ResetContent() {
    LoadXML(std::string(kStart) + kEnd);
}

bool CZEVXML::LoadXML(const std::string& text) {
    ResetStatus();
    if (text.empty()) {
        ResetContent();
        CXML::m_strOperErrDesc = "Loaded XML string is empty";
        return false;
    }
    const bool foreign = text.size() > std::string_view(kStart).size() && !text.starts_with(kStart);
    if (!m_rawLoad && foreign)
        m_root.LoadXML(kStart + text + kEnd);
    else
        m_root.LoadXML(text);
    MoveFirst();
    return CXML::m_bOperStatus;
}

std::string CZEVXML::GetXML() {
    return m_root.GetXML();
}

std::string CZEVXML::PrettyXML() {
    return m_root.XMLDebug(0);
}

bool CZEVXML::OpenFile(const std::string& name) {
    ResetStatus();
    return m_root.OpenFile(name);
}

bool CZEVXML::SaveFile(const std::string& name) {
    return m_root.SaveFile(name);
}

void CZEVXML::ReFormat() {
    if (m_root.GetTagName().view() != wire::kRoot)
        LoadXML(kStart + GetXML() + kEnd);
}

bool CZEVXML::IsEmpty() const {
    return m_root.GetChildCount() == 0;
}

std::string CZEVXML::GetOperErrDesc() const {
    return CXML::m_strOperErrDesc;
}

void CZEVXML::ResetStatus() {
    CXML::m_bOperStatus = true;
    CXML::m_strOperErrDesc.clear();
}

void CZEVXML::Generate(const std::string& path, const std::string& value, bool force) {
    if (value.empty() && !force)
        return;
    if (CXML* const node = find(path, true))
        node->SetText(escaped(value).c_str());
}

void CZEVXML::Generate(const std::string& path, double value, bool force) {
    Generate(path, relay_hub::print_number("%f", value), force);
}

std::string CZEVXML::Query(const std::string& path) {
    const CXML* const node = find(path);
    return node != nullptr ? relay_hub::unescaped(node->GetText().view()) : std::string();
}

int CZEVXML::QueryInt(const std::string& path) {
    return static_cast<int>(QueryLng(path));
}

long CZEVXML::QueryLng(const std::string& path) {
    return strtol(Query(path).c_str(), nullptr, 10);
}

double CZEVXML::QueryDbl(const std::string& path) {
    return relay_hub::read_number(Query(path).c_str());
}

void CZEVXML::GenerateAttribute(const std::string& path, const std::string& attribute,
                                const std::string& value, bool force) {
    if (value.empty() && !force)
        return;
    if (attribute.empty()) {
        CXML::SetFailure(kNoAttributeName);
        return;
    }
    if (CXML* const node = find(path, true))
        node->SetAttr(attribute.c_str(), value.c_str());
}

std::string CZEVXML::QueryAttribute(const std::string& path, const std::string& attribute) {
    if (attribute.empty()) {
        CXML::SetFailure(kNoAttributeName);
        return {};
    }
    const CXML* const node = find(path);
    return node != nullptr ? node->GetAttr(attribute.c_str()) : std::string();
}

void CZEVXML::CopyRootAttr(const std::string& xml) {
    CXML source;
    source.LoadXML(xml);
    for (CAttribute* attribute = source.GetFirstAttribute(); attribute != nullptr;
         attribute = source.GetNextAttribute())
        GenerateAttribute(kRootPath, attribute->GetAttributeName().c_str(),
                          attribute->GetAttributeText().c_str(), true);
}

int CZEVXML::GetTagCount(const std::string& path) {
    const CXML* const element = path.empty() ? &m_root : find(path);
    return element != nullptr ? element->GetChildCount() : 0;
}

bool CZEVXML::GetTagArray(const std::string& path, std::vector<std::string>& tags) {
    tags.clear();
    const CXML* const element = find(path);
    if (element == nullptr)
        return false;
    for (int at = 0; at < element->GetChildCount(); ++at)
        tags.push_back(element->GetChildAt(at)->GetTag());
    return true;
}

std::string CZEVXML::FindTagByAttr(const std::string& path, const std::string& attribute,
                                   const std::string& value) {
    if (attribute.empty()) {
        CXML::SetFailure(kNoAttributeName);
        return {};
    }
    const CXML* const element = find(path);
    for (int at = 0; element != nullptr && at < element->GetChildCount(); ++at) {
        const CXML& child = *element->GetChildAt(at);
        if (child.GetAttr(attribute.c_str()) == value)
            return child.GetTag();
    }
    return {};
}

void CZEVXML::Delete(const std::string& path) {
    CXML* node = nullptr;
    CXML* parent = nullptr;
    if (GetXMLByTag(path, false, &node, &parent))
        remove_named(*parent, *node, node->GetIndex());
}

bool CZEVXML::ChangePath(const std::string& from, const std::string& to) {
    CXML* source = nullptr;
    CXML* parent = nullptr;
    CXML* const target = GetXMLByTag(from, false, &source, &parent) ? find(to, true) : nullptr;
    if (target == nullptr)
        return false;
    target->Adopt(source->Copy());
    remove_named(*parent, *source, -1);
    return true;
}

bool CZEVXML::RevisePath(const std::string& from, const std::string& to) {
    CXML* source = nullptr;
    CXML* parent = nullptr;
    CXML* const target = GetXMLByTag(from, false, &source, &parent) ? find(to, true) : nullptr;
    if (target == nullptr)
        return false;
    const std::unique_ptr<CXML> content = source->Copy();
    target->SetText(content->GetText().c_str());
    for (CAttribute* attribute = content->GetFirstAttribute(); attribute != nullptr;
         attribute = content->GetNextAttribute())
        target->SetAttr(attribute->GetAttributeName().c_str(), attribute->GetAttributeText().c_str());
    target->AdoptChildrenOf(*content);
    remove_named(*parent, *source, -1);
    return true;
}

bool CZEVXML::AppendChild(const std::string& path, const std::string& xml) {
    CXML* const node = find(path);
    if (node == nullptr) {
        CXML::SetFailure(kTagNotFound);
        return false;
    }
    return graft(*node, xml);
}

void CZEVXML::AppendSibling(const std::string& path, const std::string& xml) {
    CXML* node = nullptr;
    CXML* parent = nullptr;
    if (GetXMLByTag(path, false, &node, &parent))
        graft(*parent, xml);
    else
        CXML::SetFailure(kTagNotFound);
}

bool CZEVXML::AppendXML(const std::string& xml) {
    return AppendChild(kRootPath, xml);
}

void CZEVXML::MergeMRS(const std::string& path, const std::string& xml) {
    Generate(path, std::string(), true);
    AppendChild(path, xml);
}

bool CZEVXML::ExtractMRS(const std::string& path, CZEVXML& out) {
    CXML* const node = find(path);
    if (node == nullptr) {
        out.ResetContent();
        return false;
    }
    const std::string text = node->GetXML();
    out.m_rawLoad = true;
    out.LoadXML(text);
    out.m_rawLoad = false;
    return true;
}

void CZEVXML::LoadArray(CXML* element) {
    if (element == nullptr)
        return;
    relay_hub::walk_tree(
        *element, [](const CXML&, int) { return true; }, [](const CXML&, int) {});
}

void CZEVXML::ReplaceSubstring(std::string& text, const std::string& from, const std::string& to) {
    if (from.empty())
        return;
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}
