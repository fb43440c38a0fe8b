#pragma once
// The local list follows the disk: what another program changes in the folder shown appears by itself.
// Window's thread.
#include "window/ui_sets.h"

namespace relay_hub {

// For the life of the side's widgets. A change shows at most twice a second, and not while an action, a
// dialog, a menu or a drag is under way. A list too long to be filled in one turn is not followed: that would
// block the window each time.
void follow_local_folder(const __single* side);

}  // namespace relay_hub
