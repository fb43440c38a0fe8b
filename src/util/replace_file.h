#pragma once
// Putting a new file or link in the place of an existing entry, which stays whole until the new one is on the
// disk. Workers only.
#include <sys/stat.h>

#include <string>

#include "util/byte_copy.h"

namespace relay_hub {

// Copies src with its attributes over the existing entry dst, through a temporary file beside it that is on
// the disk before it takes dst's name. Unless the outcome is complete, dst is as it was.
CopyOutcome replace_file(const std::string& src, const std::string& dst, const CancelTest& cancel,
                         const CopyWatch& watch = nullptr);

// Makes a link with the given text, and the times of record, at dst: in the place of what stands there, or
// only where nothing does (EEXIST). 0, or errno with dst as it was.
int put_link(const std::string& link_text, const struct stat& record, const std::string& dst, bool replace);

}  // namespace relay_hub
