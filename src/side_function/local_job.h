#pragma once
// Copies and deletions between places of this machine, each with its progress dialog, run to the end while
// the window stays live. Window's thread. 0, or the error of the worker's start.
#include <string>
#include <vector>

namespace relay_hub {

// Copies the entries (full paths) into the folder and reads the local list again.
int copy_into_local_folder(std::vector<std::string> paths, const std::string& folder);
// Moves the folder's entries of these names into the trash. The list is left for the caller to read again.
int delete_from_local_folder(std::vector<std::string> names, const std::string& folder);

}  // namespace relay_hub
