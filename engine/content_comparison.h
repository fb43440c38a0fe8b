#pragma once
// Whether two files hold the same bytes.
#include <functional>

#include "engine/remote_file_system.h"

namespace relay_hub::engine {

// Reads both to their end, or to where they differ. goes_on is asked between the pieces; false from it ends
// with ECANCELED.
Error compare_contents(FileSource& one, FileSource& other, const std::function<bool()>& goes_on, bool& same);

}  // namespace relay_hub::engine
