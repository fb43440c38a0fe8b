#pragma once
// How the sources of local file operations name themselves in diagnostics: as one unit, whichever of
// them speaks.
#include "base/diagnostics.h"

namespace relay_hub {

inline constexpr const char* kFileOpUnit = "../src/util/Zev_file_op.cpp";

}  // namespace relay_hub

// The call site where it stands, and one with a fixed line number.
#define FILE_OP_HERE                               \
    relay_hub::CallSite {                          \
        relay_hub::kFileOpUnit, __func__, __LINE__ \
    }
#define FILE_OP_LINE(line)                     \
    relay_hub::CallSite {                      \
        relay_hub::kFileOpUnit, __func__, line \
    }
