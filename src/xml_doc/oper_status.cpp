#include "xml_doc/oper_status.h"

thread_local bool OperStatus::m_bOperStatus = true;
thread_local std::string OperStatus::m_strOperErrDesc;

void OperStatus::SetFailure(const std::string& description) {
    m_bOperStatus = false;
    m_strOperErrDesc = description;
}
