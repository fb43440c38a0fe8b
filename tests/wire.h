#pragma once
// Messages as they stand on the wire.
#include <string>

#include "base/unicode_hex.h"

namespace test {

inline const std::string kSuccess = "<T1>NP_Exe_Result_Success</T1>";

inline std::string field(const std::string& tag, const std::string& text) {
    return "<" + tag + ">" + text + "</" + tag + ">";
}

inline std::string message(const std::string& fields) {
    return field("ZEVMSG", fields);
}

// A text of the basic plane, or what the window's hex form makes of another.
inline std::string hex_field(const std::string& tag, const std::string& text) {
    return field(tag, relay_hub::character_hex(text).value());
}

// Of either side, by its command without "NP_Cmd_".
inline std::string request(const std::string& command, const std::string& fields = "") {
    return message(field("NP_Cmd", "NP_Cmd_" + command) + fields);
}

}  // namespace test
