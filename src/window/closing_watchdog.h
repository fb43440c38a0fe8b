#pragma once
// The last resort of closing: a thread of its own that ends the process with status 0 when the orderly end
// takes too long, even with a main loop that is stuck. Armed by close_window; window's thread.
namespace relay_hub {

// From now on the process ends within 1.5 seconds, whatever else happens.
void arm_closing_watchdog();
// Calls it off and waits for its thread. Also done by the normal end of the process.
void disarm_closing_watchdog();

// Ends the process with status 0 at once, without its exit handlers: writes the trace's closing lines and
// flushes standard output. Any thread.
[[noreturn]] void end_process();

}  // namespace relay_hub
