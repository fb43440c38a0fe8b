#pragma once
// The one rename that never takes the place of another entry. Any thread.
#include <string>

namespace relay_hub {

// Names are relative to the open folders beside them (AT_FDCWD, too). 0 or errno; EEXIST when something
// stands at `to`, unless it is the same entry in another spelling, as on a file system that ignores case.
int rename_without_replacing(int from_folder, const std::string& from, int to_folder, const std::string& to);

}  // namespace relay_hub
