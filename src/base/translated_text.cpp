#include "base/translated_text.h"

#include <libintl.h>

namespace relay_hub {

const char* translated(const char* id) {
    // The empty id is the catalogue's header.
    return *id == '\0' ? id : gettext(id);
}

std::string fill_translated(const char* id, std::initializer_list<std::string_view> arguments) {
    const std::string_view text = translated(id);
    return text == id ? std::string(text) : fill_text(text, arguments);
}

std::string fill_text(std::string_view text, std::initializer_list<std::string_view> arguments) {
    std::string filled;
    const std::string_view* argument = arguments.begin();
    while (!text.empty()) {
        if (text.substr(0, 2) == "%%") {
            filled += '%';
            text.remove_prefix(2);
        } else if (text.substr(0, 2) == "%s") {
            if (argument != arguments.end())
                filled += *argument++;
            text.remove_prefix(2);
        } else {
            filled += text.front();
            text.remove_prefix(1);
        }
    }
    return filled;
}

}  // namespace relay_hub
