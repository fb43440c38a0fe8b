#pragma once
// Whether the engine and the remote computer are there: requests without a pane. Window's thread unless said.
// Results: 0 success, -1 as the reader judged, or at once when the program is closing.
#include "link_engine/command_runner.h"

int link_engine_heartbeat();
int link_engine_connection_status();
int offline_connection_status();
int link_engine_remote_online();
// Asks on the calling thread, which must not be the window's.
int link_engine_remote_online_nothread();
// The offline connection probe, asked directly. Any thread but the window's. 0 also when the command
// channel is busy with a request of ours: then the engine is alive.
int offline_connection_status_nothread();
// Loads special paths and drives without the runner: requests are made on the calling worker, the readers
// run on the window's thread by hand-over. Any thread but the window's. 0.
int right_combobox_load_partition_nothread();

namespace relay_hub {

// Any such request.
int ask_engine(command_start_t start, command_finish_t finish, int code, int limit_seconds = kNoTimeLimit);

}  // namespace relay_hub
