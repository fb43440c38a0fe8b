#include "ui/desktop_locale.h"

#include <gtk/gtk.h>

#include <cstdlib>

#include "base/log.h"

namespace relay_hub {

bool enter_chosen_locale() {
    const bool kept = choose_locale();
    (void)gtk_set_locale();
    return kept;
}

void settle_locale() {
    const char* lang = std::getenv("LANG");
    log_event("locale_ptr:%s", lang != nullptr ? lang : "(null)");
    if (!enter_chosen_locale())
        (void)write_log(kEventLogPath, "set locale");
}

}  // namespace relay_hub
