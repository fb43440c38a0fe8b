#pragma once
// Whether the played remote computer answers. Set by the thread that takes the signals, read by the others.
#include <atomic>

namespace relay_hub::engine {

struct LinkState {
    std::atomic<bool> remote_online{true};
};

}  // namespace relay_hub::engine
