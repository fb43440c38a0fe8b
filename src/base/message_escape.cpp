#include "base/message_escape.h"

#include <array>

namespace relay_hub {
namespace {

struct Entity {
    char plain;
    std::string_view escaped;
};

constexpr Entity kEntities[] = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&dq;"}};

// By byte; empty for one that stands for itself.
constexpr auto kEscapedForms = [] {
    std::array<std::string_view, 256> forms{};
    for (const Entity& entity : kEntities)
        forms[static_cast<unsigned char>(entity.plain)] = entity.escaped;
    return forms;
}();

}  // namespace

// One pass gives what a pass for each entity would: no replacement makes or breaks another entity.
void append_escaped(std::string& message, std::string_view text) {
    std::size_t start = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::string_view escaped = kEscapedForms[static_cast<unsigned char>(text[at])];
        if (escaped.empty())
            continue;
        message.append(text.substr(start, at - start)).append(escaped);
        start = at + 1;
    }
    message.append(text.substr(start));
}

std::string unescaped(std::string_view text) {
    std::string out;
    std::size_t start = 0;
    for (std::size_t at = text.find('&'); at != std::string_view::npos; at = text.find('&', start)) {
        out.append(text.substr(start, at - start));
        start = at + 1;
        char plain = '&';
        for (const Entity& entity : kEntities) {
            if (text.substr(at).starts_with(entity.escaped)) {
                plain = entity.plain;
                start = at + entity.escaped.size();
            }
        }
        out.push_back(plain);
    }
    return out.append(text.substr(start));
}

}  // namespace relay_hub
