#include "xml_doc/number_text.h"
#include "xml_doc/xml.h"

bool CXML::ByName::operator()(const Owned& a, const Owned& b) const {
    return a->GetAttributeName().view() < b->GetAttributeName().view();
}

bool CXML::ByName::operator()(const Owned& a, std::string_view b) const {
    return a->GetAttributeName().view() < b;
}

bool CXML::ByName::operator()(std::string_view a, const Owned& b) const {
    return a < b->GetAttributeName().view();
}

void CXML::SetAttr(const char* name, const char* value) {
    set_attribute(name, value);
}

void CXML::SetAttr(const char* name, int value) {
    SetAttr(name, static_cast<long>(value));
}

void CXML::SetAttr(const char* name, long value) {
    CMabString text;
    text = value;
    set_attribute(name, std::move(text));
}

void CXML::SetAttr(const char* name, float value) {
    SetAttr(name, static_cast<double>(value));
}

void CXML::SetAttr(const char* name, double value) {
    CMabString text;
    text = value;
    set_attribute(name, std::move(text));
}

void CXML::SetAttrUS(const char* name, double value) {
    set_attribute(name, relay_hub::print_number("%.2f", value + 0.001));
}

void CXML::set_attribute(CMabString name, CMabString value) {
    const auto place = m_attributes.lower_bound(name.view());
    if (place != m_attributes.end() && (*place)->GetAttributeName().view() == name.view())
        (*place)->SetAttribute(std::move(value));
    else
        m_attributes.insert(place, std::make_unique<CAttribute>(std::move(name), std::move(value)));
}

void CXML::AddAttr(CAttribute* attribute) {
    std::unique_ptr<CAttribute> owned(attribute);
    if (!owned)
        return;
    const auto place = m_attributes.find(owned->GetAttributeName().view());
    if (place == m_attributes.end())
        m_attributes.insert(std::move(owned));
    else
        (*place)->SetAttribute(owned->GetAttributeText());
}

CAttribute* CXML::GetAttributePointer(const char* name) const {
    const auto place = m_attributes.find(std::string_view(name));
    return place == m_attributes.end() ? nullptr : place->get();
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
    erase_attribute(m_attributes.find(std::string_view(name)));
}

void CXML::RemoveCurrentAttr() {
    erase_attribute(m_currentAttribute);
}

void CXML::erase_attribute(Attributes::iterator attribute) {
    if (attribute == m_attributes.end())
        return;
    const auto next = std::next(attribute);
    if (m_currentAttribute == attribute)
        m_currentAttribute = next;
    m_attributes.erase(attribute);
}

CAttribute* CXML::GetFirstAttribute() {
    m_currentAttribute = m_attributes.begin();
    return GetCurrentAttribute();
}

CAttribute* CXML::GetLastAttribute() {
    m_currentAttribute = m_attributes.empty() ? m_attributes.end() : std::prev(m_attributes.end());
    return GetCurrentAttribute();
}

CAttribute* CXML::GetNextAttribute() {
    if (m_currentAttribute != m_attributes.end())
        ++m_currentAttribute;
    return GetCurrentAttribute();
}

CAttribute* CXML::GetPrevAttribute() {
    if (m_currentAttribute == m_attributes.begin())
        return nullptr;
    --m_currentAttribute;
    return GetCurrentAttribute();
}

CAttribute* CXML::GetCurrentAttribute() const {
    return m_currentAttribute == m_attributes.end() ? nullptr : m_currentAttribute->get();
}

CAttribute* CXML::SetCurrentAttr(CAttribute* attribute) {
    if (attribute == nullptr)
        return nullptr;
    const auto place = m_attributes.find(attribute->GetAttributeName().view());
    if (place == m_attributes.end() || place->get() != attribute)
        return nullptr;
    m_currentAttribute = place;
    return attribute;
}
