#pragma once
// Remote paths as the wire has them. Any thread.
#include <string>

namespace relay_hub {

// The last part of a remote path: after the last backslash of a drive-letter path, else after the last slash.
std::string remote_base_name(const std::string& path);

// unicode_hex with its trace on standard output.
std::string traced_unicode_hex(const std::string& text);

}  // namespace relay_hub
