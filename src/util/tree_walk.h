#pragma once
// A walk over a source and all below it, folders before their content, that follows no link. Unlike nftw it
// tells a folder whose reading breaks off, and goes on after an entry that vanished. One thread at a time.
#include <ftw.h>
#include <sys/stat.h>

#include <functional>
#include <string>

namespace relay_hub {

struct WalkEntry {
    const std::string& path;
    const struct stat& status;  // all zeros for FTW_NS
    // FTW_F, FTW_D, FTW_SL for a link, FTW_NS for what lstat refused, FTW_DNR for a folder that could not be
    // read. A folder whose reading failed in the middle comes a second time, as FTW_DNR with broken_off set.
    int flag;
    int error_number;  // of FTW_NS and FTW_DNR
    bool broken_off;
};

// 0 goes on, FTW_SKIP_SUBTREE goes on without the folder's content, anything else ends the walk. Between two
// calls at most 64 descriptors are held.
using WalkStep = std::function<int(const WalkEntry& entry)>;

// 0, or what ended the walk.
int walk_tree(const std::string& source, const WalkStep& step);

}  // namespace relay_hub
