#pragma once
// Local jobs.
#include "util/job_state.h"

// Thread bodies: act on the task kind, then set the state to 2 unless it is 3. task is a __task_list, args a
// __send_args. They end the calling thread.
void* start_job_routine(void* task);
void* start_job_routine_for_linkengange(void* args);

namespace relay_hub {

// Runs the job on a worker and turns the main loop, with blocking turns, until it is done; joins. Prints
// "create thread!", "terminated of thread!" or "create thread fail !". 0, or the error of the thread's start.
int run_local_job(__task_list* job);

}  // namespace relay_hub
