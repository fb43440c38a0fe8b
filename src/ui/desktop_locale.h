#pragma once
// The language of the process, settled once at start-up on the window's thread, after the toolkit is up.

// Where the catalogues are, relative to the working directory, and their text domain.
inline constexpr char kCatalogueFolder[] = "Deployment/Functions/{3F29A6C4-71B0-4d2e-9C85-D04E7A1B6F93}/lang";
inline constexpr char kTextDomain[] = "LanguageI18N";

namespace relay_hub {

// The locale to run under for a value of LANG (null when unset): the value itself when it is supported, else
// American English.
const char* supported_locale(const char* lang);

// Enters the locale for the present LANG, settling LANG first; tells no log. False when LANG was replaced.
bool enter_chosen_locale();

// Settles LANG, telling the event log, and enters the locale. Where it is not installed, names still convert
// as UTF-8 and texts still translate.
void settle_locale();

// Makes the catalogue the source of the program's texts.
void bind_catalogue();

}  // namespace relay_hub
