#include "xml_doc/number_text.h"
#include "xml_doc/xml.h"

void CXML::SetAttr(const char* name, long value) {
    CMabString text;
    text = value;
    set_attribute(name, std::move(text));
}

void CXML::SetAttr(const char* name, double value) {
    CMabString text;
    text = value;
    set_attribute(name, std::move(text));
}

void CXML::SetAttrUS(const char* name, double value) {
    set_attribute(name, relay_hub::print_number("%.2f", value + 0.001));
}

CXML::Attributes& CXML::attributes() {
    if (!m_attributes)
        m_attributes = std::make_unique<Attributes>();
    return *m_attributes;
}

void CXML::set_attribute(CMabString name, CMabString value) {
    AttributeSet& set = attributes().set;
    const auto place = set.lower_bound(name.view());
    if (place != set.end() && (*place)->GetAttributeName().view() == name.view())
        (*place)->SetAttribute(std::move(value));
    else
        set.insert(place, std::make_unique<CAttribute>(std::move(name), std::move(value)));
}

void CXML::AddAttr(CAttribute* attribute) {
    std::unique_ptr<CAttribute> owned(attribute);
    if (!owned)
        return;
    AttributeSet& set = attributes().set;
    const auto place = set.find(owned->GetAttributeName().view());
    if (place == set.end())
        set.insert(std::move(owned));
    else
        (*place)->SetAttribute(owned->GetAttributeText());
}

CAttribute* CXML::GetAttributePointer(const char* name) const {
    if (!m_attributes)
        return nullptr;
    const auto place = m_attributes->set.find(std::string_view(name));
    return place == m_attributes->set.end() ? nullptr : place->get();
}

std::string CXML::GetAttr(const char* name) const {
    return GetAttrText(name).c_str();
}

CMabString CXML::GetAttrText(const char* name) const {
    const CAttribute* const attribute = GetAttributePointer(name);
    return attribute != nullptr ? attribute->GetAttributeText() : CMabString();
}

CMabString CXML::GetAttrTextUS(const char* name) const {
    CMabString text = GetAttrText(name);
    return text.IsEmpty() ? CMabString("0.00") : text;
}

void CXML::RemoveAttr(const char* name) {
    if (m_attributes)
        erase_attribute(m_attributes->set.find(std::string_view(name)));
}

void CXML::RemoveCurrentAttr() {
    if (m_attributes)
        erase_attribute(m_attributes->current);
}

void CXML::erase_attribute(AttributeSet::iterator attribute) {
    auto& [set, current] = *m_attributes;
    if (attribute == set.end())
        return;
    if (current == attribute)
        ++current;
    set.erase(attribute);
}

CAttribute* CXML::GetFirstAttribute() {
    if (m_attributes)
        m_attributes->current = m_attributes->set.begin();
    return GetCurrentAttribute();
}

CAttribute* CXML::GetLastAttribute() {
    if (m_attributes)
        m_attributes->current =
            m_attributes->set.empty() ? m_attributes->set.end() : std::prev(m_attributes->set.end());
    return GetCurrentAttribute();
}

CAttribute* CXML::GetNextAttribute() {
    if (m_attributes && m_attributes->current != m_attributes->set.end())
        ++m_attributes->current;
    return GetCurrentAttribute();
}

CAttribute* CXML::GetPrevAttribute() {
    if (!m_attributes || m_attributes->current == m_attributes->set.begin())
        return nullptr;
    --m_attributes->current;
    return GetCurrentAttribute();
}

CAttribute* CXML::GetCurrentAttribute() const {
    return !m_attributes || m_attributes->current == m_attributes->set.end() ? nullptr
                                                                             : m_attributes->current->get();
}

CAttribute* CXML::SetCurrentAttr(CAttribute* attribute) {
    if (attribute == nullptr || !m_attributes)
        return nullptr;
    const auto place = m_attributes->set.find(attribute->GetAttributeName().view());
    if (place == m_attributes->set.end() || place->get() != attribute)
        return nullptr;
    m_attributes->current = place;
    return attribute;
}
