#pragma once
// Copies, moves and deletions between places of this machine, each with its progress dialog, run to the end
// while the window stays live. Window's thread. 0, or the error of the worker's start.
#include <string>
#include <vector>

#include "side_function/copy_source.h"
#include "side_function/local_move.h"

namespace relay_hub {

// Copies or moves the entries into the folder and reads the local list again; nothing, and -1, without any.
int put_into_local_folder(const Offer& offer, const std::string& folder);
// Moves the folder's entries of these names into the trash. The list is left for the caller to read again.
int trash_from_local_folder(const std::vector<std::string>& names, const std::string& folder);
// The same for entries of any folders, by their full paths.
int trash_locally(const std::vector<std::string>& paths);

// What the entries look like now, found out on a worker; empty when that could not be done.
Fingerprints look_before_move(const std::vector<std::string>& paths);
// The end of a move whose copies have arrived: moves the entries into the trash, but for those that
// changed since; the user gets a message about them.
void trash_unchanged(const Fingerprints& before, const std::vector<std::string>& paths);
// The message about what is left where it is, and why; none without any items.
void tell_left(const std::vector<std::string>& items, const char* reason_id);

}  // namespace relay_hub
