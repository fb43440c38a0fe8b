#pragma once
// Removing an entry with all it holds, for good: links are removed, never followed. Takes a bounded number of
// descriptors and time in proportion to the entries, however deep the tree is. Any thread.
#include <string>

namespace relay_hub {

enum class FolderRights {
    keep,   // a folder that may not be read or written is a failure
    widen,  // such a folder of ours gets the owner's rights first
};

// Removes the entry of that name in the open folder parent. 0, or the errno of the first removal that failed;
// what is left stays, and *failed is the path, beginning with name, of that entry. Entries that vanish
// meanwhile are no failure.
int remove_tree(int parent, const std::string& name, FolderRights rights, std::string* failed);

}  // namespace relay_hub
