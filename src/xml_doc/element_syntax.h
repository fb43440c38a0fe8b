// The rules of one markup token, shared by the reader that builds a tree and the check that builds none. All
// views lie in the token that was given. Pure.
#pragma once

#include <string_view>

namespace relay_hub {

inline constexpr const char* kNoTagName = "No Valid Tag Name";
inline constexpr const char* kIncompleteTag = "Warning Tag Block is Incomplete";
inline constexpr const char* kStrayEndTag =
    "Warning Element Terminator exists without matching initial Block ";
inline constexpr const char* kTooDeep = "Elements are nested too deeply";

struct StartTag {
    std::string_view name;        // begins with "/" for an end tag that nobody waits for
    std::string_view attributes;  // what stands behind the name, trimmed
    bool complete;                // ends with ">"
    bool self_closed;
};

struct AttributeText {
    std::string_view name;
    std::string_view value;
};

// A token that starts no element and is no error either.
bool is_blank_token(std::string_view token);
// "<?" at the top of a document, "<!" too inside an element: passed over.
bool is_declaration(std::string_view token);
bool is_declaration_or_comment(std::string_view token);
bool is_end_tag(std::string_view token, std::string_view name);
// The name that the token has before a closing "/" is looked at; empty: the token names nothing.
std::string_view bare_name(std::string_view token);
// Of a token that is not blank and has a bare name.
StartTag split_start_tag(std::string_view token);
// Cuts the first attribute off a text that is not empty. False where there is none.
bool next_attribute(std::string_view& remaining, AttributeText& attribute);

}  // namespace relay_hub
