#pragma once
// Runs one request on a worker thread while the window stays live, then hands the answer to its reader.
// send_command_t is called on the window's thread, with the GDK lock held; it turns the main loop with
// blocking turns, serves the engine's overwrite questions, and returns the reader's result. Requests nest.
#include "link_engine/send_args.h"

using command_start_t = int (*)(void* args);
using command_finish_t = int (*)(__send_args* args);

// start runs on a worker with a token and an answer cell of its own; finish runs on the calling thread once
// the worker has ended, also after a time-out or an abandoned request, and then finds an empty answer.
// Returns finish's result, 0 without one, or the error code when no worker could be started (finish does
// not run then). A block whose state is already 3 was cancelled before it began, and a closing program starts
// nothing: start does not run then, finish finds an empty answer.
// A run whose state became 3 is abandoned once the engine has been silent for the block's cancel_grace.
int send_command_t(command_start_t start, command_finish_t finish, __send_args* args);
// The one-second timer of a run with a time limit; args is the __send_args block. 1 to keep the timer, 0
// once the limit has passed: the request is then given up.
int block_timer(void* args);

namespace relay_hub {

// Gives up the innermost running request: its send returns, its reader runs on an empty answer. Nothing
// when no request runs. Window's thread.
void abandon_current_request();
// With false, gives up every running request, and every later one ends before it is sent: the program is
// closing. Window's thread.
void allow_requests(bool allowed);

}  // namespace relay_hub
