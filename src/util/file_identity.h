#pragma once
// Whether two paths are one entry, or one folder lies in another: by device and inode, so that links, bind
// mounts and other spellings of a path are seen through. Any thread.
#include <sys/stat.h>

#include <string>

namespace relay_hub {

bool is_same_entry(const struct stat& one, const struct stat& other);

// True when the entry at dst (not followed) is the source itself, or what the source, a link, leads to: then
// replacing dst would destroy what is being copied.
bool replaces_its_source(const std::string& src, const struct stat& source, const std::string& dst);

// True when folder (links followed) is the folder described by outer, or lies below it. False when folder
// cannot be entered.
bool lies_within(const std::string& folder, const struct stat& outer);

}  // namespace relay_hub
