#include "xml_doc/xml.h"

CAttribute::CAttribute(CMabString name, CMabString value)
    : m_value(std::move(value)), m_name(std::move(name)) {}

std::unique_ptr<CAttribute> CAttribute::Copy() const {
    return std::make_unique<CAttribute>(m_name, m_value);
}
