#pragma once
// The local list follows the disk: what another program changes in the folder shown appears by itself.
// Window's thread.
#include "window/ui_sets.h"

namespace relay_hub {

// For the life of the side's widgets. A change shows at most twice a second, less often in a folder that
// takes long to read, and not while an action, a dialog, a menu or a drag is under way. The folder is read on
// a worker, and the rows that changed are put right in short turns of the main loop.
void follow_local_folder(const __single* side);

}  // namespace relay_hub
