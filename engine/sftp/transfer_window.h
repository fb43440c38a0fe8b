#pragma once
// How much of one file is on its way at once.
#include <cstddef>

namespace relay_hub::engine::sftp {

// Of one read or write, where the server takes as much.
inline constexpr std::size_t kBlock = 128UL * 1024;
// Enough for 400 MB/s at 10 ms a round trip.
inline constexpr std::size_t kWindow = 4UL * 1024 * 1024;

}  // namespace relay_hub::engine::sftp
