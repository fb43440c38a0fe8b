#pragma once
// The owner of an open folder, and its names. One thread at a time.
#include <dirent.h>

#include <memory>
#include <string>
#include <vector>

#include "base/freed_by.h"

namespace relay_hub {

using FolderHandle = std::unique_ptr<DIR, FreedBy<closedir>>;

// Opens a folder for reading its names. Null with errno set on failure.
FolderHandle open_folder(const std::string& path);
// The same beneath an open folder, a link in the last component refused.
FolderHandle open_folder_at(int parent, const std::string& name);
// Appends all names but "." and "..". 0, or the errno with which the reading began or broke off; the names
// until then are there.
int read_names(DIR* folder, std::vector<std::string>& names);
// The same for a descriptor, which keeps its place and may be one opened with O_PATH.
int read_names(int folder, std::vector<std::string>& names);

}  // namespace relay_hub
