#pragma once
// Moving an entry with the "mv" program, and cleaning up after a move that failed. No shell is involved.
// Any thread.
#include <string>

#include "util/byte_copy.h"

namespace relay_hub {

enum class MoveEnd { moved, failed, cancelled };

// Runs mv on path with target as its destination. When it failed, *reason is why, without the names that mv
// puts before it. A cancel ends mv at once.
MoveEnd run_mv(const std::string& path, const std::string& target, const CancelTest& cancel,
               std::string* reason);

// After a failed move of path into folder: removes folder with whatever copy mv began there. Keeps it all and
// returns false when the copy holds something that path has lost, since it is then the only one.
bool discard_copy(const std::string& folder, const std::string& path);

}  // namespace relay_hub
