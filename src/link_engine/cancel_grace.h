#pragma once
// How long the engine may stay silent after the user cancelled before its request is abandoned.
#include <chrono>

namespace relay_hub {

inline constexpr std::chrono::milliseconds kCancelGrace{5000};

std::chrono::milliseconds cancel_grace();
// Any thread; later runs use it.
void set_cancel_grace_for_tests(std::chrono::milliseconds grace);

}  // namespace relay_hub
