#pragma once
// The one way from a worker or the listener to the window: a function handed over to the thread that runs
// the main loop, where it runs with the GDK lock held. A caller must not hold the GDK lock.
#include <functional>

namespace relay_hub {

// Called once by the thread that will run the main loop, before any hand-over.
void remember_window_thread();
bool on_window_thread();

// Runs function on the window's thread some time later. Any thread. Dropped once the main loop has ended.
void post_to_window(std::function<void()> function);
// Runs function on the window's thread and waits for its end; on the window's thread itself, at once.
// False when the program closed before the function ran.
bool call_on_window(const std::function<void()>& function);
// The main loop has ended: waiting callers are released with false, later calls fail at once.
void end_hand_over();

}  // namespace relay_hub
