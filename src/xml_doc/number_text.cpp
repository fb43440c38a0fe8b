#include "xml_doc/number_text.h"

#include <locale.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace relay_hub {
namespace {

locale_t classic_locale() {
    static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
    return classic;
}

class ClassicLocale {
  public:
    ClassicLocale() : before_(uselocale(classic_locale())) {}
    ClassicLocale(const ClassicLocale&) = delete;
    ClassicLocale& operator=(const ClassicLocale&) = delete;
    ~ClassicLocale() { uselocale(before_); }

  private:
    locale_t before_;
};

}  // namespace

std::string print_text(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, format, arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0)
        vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

std::string print_number(const char* format, ...) {
    const ClassicLocale classic;
    va_list arguments;
    va_start(arguments, format);
    std::string text = print_text(format, arguments);
    va_end(arguments);
    return text;
}

double read_number(const char* text) {
    return strtod_l(text, nullptr, classic_locale());
}

}  // namespace relay_hub
