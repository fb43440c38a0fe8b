#pragma once
// How the window's thread waits: by turning the main loop, asleep while nothing happens. The code that
// changes what is waited for wakes it (Worker and set_atomic do, with g_main_context_wakeup). Window's
// thread.
#include <chrono>
#include <functional>

namespace relay_hub {

// Turns the main loop until condition holds; condition is looked at after every turn.
void turn_main_loop_until(const std::function<bool()>& condition);
// Turns the main loop until nothing more waits there, at most about that long.
void serve_main_loop(std::chrono::milliseconds limit);

// One blocking turn, supplied by the room that knows the toolkit and its lock; GLib's own until then.
void set_main_loop_turn(void (*turn)());

}  // namespace relay_hub
