#pragma once
// Sizes as both programs show them: "1023 bytes", "1.0 KB", "1.5 GB". Any thread.
#include <cstdint>
#include <string>

namespace relay_hub {

std::string size_text(std::uint64_t bytes);

// Stands between the figures of one line.
inline constexpr char kBetweenFigures[] = " · ";

}  // namespace relay_hub
