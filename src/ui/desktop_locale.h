#pragma once
// Enters the window's language, once at start-up on the window's thread, after the toolkit is up.
#include "base/program_locale.h"

namespace relay_hub {

// Enters the locale for the present LANG, settling LANG first; tells no log. False when LANG was replaced.
bool enter_chosen_locale();

// The same, telling the event log.
void settle_locale();

}  // namespace relay_hub
