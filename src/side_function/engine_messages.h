#pragma once
// The texts that the engine or a reader left for the user. Window's thread.
namespace relay_hub {

// Shows the text that waits, if there is one, and clears it.
void show_waiting_message();
// The same at the end of a request that came to result. An engine that is gone, or gives no reason, must not
// look like one that did what was asked.
void show_end_message(int result);
// Shows the reason of a failure, as show_end_message does, and clears it. True when the user wants to
// try again.
bool ask_about_failure();

}  // namespace relay_hub
