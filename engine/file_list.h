#pragma once
// The answer that lists a folder.
#include <string>
#include <vector>

#include "engine/names.h"
#include "engine/remote_file_system.h"

namespace relay_hub::engine {

// In natural order of names, without hidden ones and those that cannot travel. A list that would be longer
// than longest bytes first leaves out the names in hex, then its end; both are told on standard error.
std::string file_list_text(const std::vector<Entry>& entries, Style style, std::size_t longest);

}  // namespace relay_hub::engine
