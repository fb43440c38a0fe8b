#pragma once
// Texts of the user interface. An id (IDS_...) is looked up in the catalogue; a missing entry shows the
// id itself. Any thread.
#include <initializer_list>
#include <string>
#include <string_view>

namespace relay_hub {

// gettext(id).
const char* translated(const char* id);

// The translation of id with its "%s" replaced by the arguments in order and "%%" by "%". Nothing else in
// the text is a conversion; surplus arguments are dropped, missing ones leave an empty text. An id without
// a translation comes back as it is, with no arguments filled.
std::string fill_translated(const char* id, std::initializer_list<std::string_view> arguments);

// The same filling on a given text.
std::string fill_text(std::string_view text, std::initializer_list<std::string_view> arguments);

}  // namespace relay_hub
