#pragma once
// The language that a program of ours runs in. Changes the process's environment: call it before there are
// threads.

// Where the catalogues are, relative to the working directory, and their text domain.
inline constexpr char kCatalogueFolder[] = "Deployment/Functions/{3F29A6C4-71B0-4d2e-9C85-D04E7A1B6F93}/lang";
inline constexpr char kTextDomain[] = "LanguageI18N";

namespace relay_hub {

// The locale to run under for a value of LANG (null when unset): the value itself when it is supported, else
// American English.
const char* supported_locale(const char* lang);

// Settles LANG, and what else names a language, for setlocale(LC_ALL, "") to follow. Where the locale is not
// installed, names still convert as UTF-8 and texts still translate. False when LANG was replaced.
bool choose_locale();

// Makes the catalogue the source of the program's texts; where the working directory holds none, the one that
// belongs to the program's own folder.
void bind_catalogue();

// Settles and enters the locale and binds the catalogue: all that a text in the user's language needs.
void enter_language();

}  // namespace relay_hub
