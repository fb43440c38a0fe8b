#include "base/program_locale.h"

#include <langinfo.h>
#include <libintl.h>
#include <locale.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <type_traits>

#include "base/freed_by.h"

namespace relay_hub {
namespace {

constexpr char kFallback[] = "en_US.UTF-8";
constexpr const char* kSupported[] = {
    kFallback,     "fr_FR.UTF-8", "de_DE.UTF-8", "it_IT.UTF-8", "es_AR.UTF-8", "ja_JP.UTF-8",
    "ko_KR.UTF-8", "zh_TW.UTF-8", "zh_CN.UTF-8", "pt_PT.UTF-8", "pt_BR.UTF-8", "ru_RU.UTF-8",
};

using Locale = std::unique_ptr<std::remove_pointer_t<locale_t>, FreedBy<::freelocale>>;

// False for a locale that is not installed, too. Asked before it is entered: the toolkit complains of it.
bool names_would_be_utf8() {
    const Locale locale(::newlocale(LC_ALL_MASK, "", nullptr));
    return locale != nullptr && std::strcmp(::nl_langinfo_l(CODESET, locale.get()), "UTF-8") == 0;
}

// Of a program that was started elsewhere: beside its folder, as it is built, or where it is installed.
std::string catalogue_folder() {
    std::error_code unreadable;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", unreadable);
    const std::filesystem::path above = program.parent_path().parent_path();
    for (const std::filesystem::path& base : {above, above / "share/relay-hub"}) {
        std::error_code error;
        const std::filesystem::path folder = base / kCatalogueFolder;
        if (!unreadable && std::filesystem::is_directory(folder, error))
            return folder;
    }
    return kCatalogueFolder;
}

}  // namespace

const char* supported_locale(const char* lang) {
    for (const char* supported : kSupported) {
        if (lang != nullptr && std::strcmp(lang, supported) == 0)
            return supported;
    }
    return kFallback;
}

bool choose_locale() {
    const char* lang = std::getenv("LANG");
    const char* chosen = supported_locale(lang);
    const bool kept = lang != nullptr && std::strcmp(lang, chosen) == 0;
    if (!kept)
        (void)::setenv("LANG", chosen, 1);
    // LANG alone picks the texts: a list of languages or a category that names one without a catalogue would
    // leave bare ids.
    (void)::setenv("LANGUAGE", std::string(chosen, std::strcspn(chosen, ".")).c_str(), 1);
    (void)::unsetenv("LC_MESSAGES");
    // The C library's own locale converts names where the chosen one is not installed.
    if (!names_would_be_utf8())
        (void)::setenv("LC_ALL", "C.UTF-8", 1);
    return kept;
}

void bind_catalogue() {
    std::error_code error;
    const bool is_here = std::filesystem::is_directory(kCatalogueFolder, error);
    (void)::bindtextdomain(kTextDomain, is_here ? kCatalogueFolder : catalogue_folder().c_str());
    (void)::bind_textdomain_codeset(kTextDomain, "UTF-8");
    (void)::textdomain(kTextDomain);
}

void enter_language() {
    (void)choose_locale();
    (void)::setlocale(LC_ALL, "");
    bind_catalogue();
}

}  // namespace relay_hub
