#include "side_function/wire_path.h"

#include <cstdio>

#include "util/ansi_unicode_hex.h"

namespace relay_hub {

std::string remote_base_name(const std::string& path) {
    const char separator = path.size() > 1 && path[1] == ':' ? '\\' : '/';
    const std::size_t at = path.rfind(separator);
    return at == std::string::npos ? path : path.substr(at + 1);
}

std::string traced_unicode_hex(const std::string& text) {
    std::string hex = unicode_hex(text);
    if (!hex.empty()) {
        std::printf("length:%zu\n", hex.size() / 4);
        std::printf("unicode string length:%zu\n%s\n", hex.size(), hex.c_str());
    }
    return hex;
}

}  // namespace relay_hub
