#pragma once
// The trash of a folder as the freedesktop.org layout has it for a volume: ".Trash-UID" with "files" and
// "info" in it, so that any file manager can restore an item. Used by FolderFileSystem alone.
#include <string>

namespace relay_hub::engine {

// Moves the last component of path (relative to root), which stands in parent, to the trash of root. 0 or
// errno.
int trash_item(int root, int parent, const std::string& path);

}  // namespace relay_hub::engine
