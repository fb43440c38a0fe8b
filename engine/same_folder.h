#pragma once
// Whether folders of two trees are one and the same: the other computer's disk may be mounted here, or both
// use that of a third one. Paths and identities do not say so; a file made in one that shows up in the other
// does.
#include <string>

#include "engine/remote_file_system.h"

namespace relay_hub::engine {

struct FolderOfTree {
    RemoteFileSystem& files;
    std::string path;
};

// Makes an empty file in made for the time of the call, under a name that a sweep removes. same is set when
// it is seen in seen as well. An error when that cannot be found out.
Error find_whether_same(const FolderOfTree& made, const FolderOfTree& seen, bool& same);

}  // namespace relay_hub::engine
