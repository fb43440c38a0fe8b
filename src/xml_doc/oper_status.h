#pragma once
// The status of this library's operations, one per thread; known as members of CXML.
#include <string>

struct OperStatus {
    // False after this thread's last failing operation, and that operation's text. They stay until set again.
    static thread_local bool m_bOperStatus;
    static thread_local std::string m_strOperErrDesc;
    static void SetFailure(const std::string& description);
};
