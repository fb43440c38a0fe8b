#include "xml_doc/number_text.h"

#include <locale.h>

#include <cstdarg>
#include <cstdlib>

#include "base/glib_owners.h"
#include "base/non_copyable.h"

namespace relay_hub {
namespace {

// The C library's own object: nothing to free.
locale_t classic_locale() {
    return newlocale(LC_ALL_MASK, "C", nullptr);
}

class ClassicLocale : NonCopyable {
  public:
    ClassicLocale() : before_(uselocale(classic_locale())) {}
    ~ClassicLocale() { uselocale(before_); }

  private:
    locale_t before_;
};

}  // namespace

std::string print_text(const char* format, va_list arguments) {
    const GText text(g_strdup_vprintf(format, arguments));
    return text != nullptr ? text.get() : "";
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
