#pragma once
// The answer that lists a folder.
#include <cstddef>
#include <optional>
#include <string>

#include "engine/copy_failures.h"
#include "engine/names.h"
#include "engine/remote_file_system.h"

namespace relay_hub::engine {

enum class HiddenFiles { kLeftOut, kListed };

struct FileList {
    std::string text;       // the answer
    std::size_t shown = 0;  // entries that should be in it
    std::size_t sent = 0;   // entries that are in it
    FailureList missing;    // entries that cannot be, whatever room there is
};

// In natural order of names. free: bytes that can still be written there, if known. A list that would be
// longer than longest bytes first leaves out the names in hex, then its end.
FileList file_list(const Listing& listing, Style style, HiddenFiles hidden, std::optional<std::uint64_t> free,
                   std::size_t longest);

}  // namespace relay_hub::engine
