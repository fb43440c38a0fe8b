#include "xml_doc/element_syntax.h"

#include <algorithm>

namespace relay_hub {
namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\n\v\f\r";
    const size_t first = std::min(text.find_first_not_of(blanks), text.size());
    return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

bool is_complete(std::string_view token) {
    return token.size() > 1 && token.ends_with('>');
}

std::string_view between_brackets(std::string_view token) {
    return token.substr(1, token.size() - (is_complete(token) ? 2 : 1));
}

std::string_view name_in(std::string_view body) {
    return body.substr(0, body.find(' '));
}

}  // namespace

bool is_blank_token(std::string_view token) {
    return token.size() == 2 || !token.starts_with('<');
}

bool is_declaration(std::string_view token) {
    return token.size() > 1 && token[1] == '?';
}

bool is_declaration_or_comment(std::string_view token) {
    return token.size() > 1 && (token[1] == '!' || token[1] == '?');
}

bool is_end_tag(std::string_view token, std::string_view name) {
    return token.size() == name.size() + 3 && token.starts_with("</") && token.ends_with('>') &&
           token.substr(2, name.size()) == name;
}

std::string_view bare_name(std::string_view token) {
    return name_in(between_brackets(token));
}

StartTag split_start_tag(std::string_view token) {
    std::string_view body = between_brackets(token);
    const bool complete = is_complete(token);
    const bool self_closed = complete && body.ends_with('/');
    if (self_closed)
        body.remove_suffix(1);
    const std::string_view name = name_in(body);
    return {name, trimmed(body.substr(name.size())), complete, self_closed};
}

bool next_attribute(std::string_view& remaining, AttributeText& attribute) {
    const size_t equals = remaining.find('=');
    const size_t open = remaining.find('"', std::min(equals, remaining.size()));
    const size_t close = open == std::string_view::npos ? open : remaining.find('"', open + 1);
    if (close == std::string_view::npos)
        return false;
    attribute = {trimmed(remaining.substr(0, equals)), remaining.substr(open + 1, close - open - 1)};
    remaining = trimmed(remaining.substr(close + 1));
    return true;
}

}  // namespace relay_hub
