#pragma once
// Copies, moves and deletions between places of this machine, each with its progress dialog, run to the end
// while the window stays live. Window's thread. 0, or the error of the worker's start.
#include <string>
#include <vector>

#include "side_function/copy_source.h"

namespace relay_hub {

// Copies or moves the entries into the folder and reads the local list again; nothing, and -1, without any.
int put_into_local_folder(const Offer& offer, const std::string& folder);
// Moves the folder's entries of these names into the trash. The list is left for the caller to read again.
int trash_from_local_folder(const std::vector<std::string>& names, const std::string& folder);
// The same for entries of any folders, by their full paths.
int trash_locally(const std::vector<std::string>& paths);

}  // namespace relay_hub
