#pragma once
// Local jobs and the loops that animate a progress dialog.
#include <gtk/gtk.h>

#include "util/job_state.h"
#include "window/dialogs/file_read_write_dialog.h"

// Thread bodies: act on the task kind, then set the state to 2 unless it is 3. task is a __task_list, args a
// __send_args. They end the calling thread.
void* start_job_routine(void* task);
void* start_job_routine_for_linkengange(void* args);

extern volatile int atomic_flag;     // 1 once stop_loop was called; window's thread
extern dialog_info* dialog_ptr;      // what do_something animated last; borrowed
extern const dialog_job* tasks_ptr;  // its job; borrowed

// The callbacks are installed so that they run with the GDK lock held.
unsigned int new_idle_loop(GSourceFunc function, gpointer data);
unsigned int new_timeout_loop(unsigned int interval_ms, GSourceFunc function, gpointer data);
int stop_loop();
gboolean update_information(gpointer data);
gboolean do_something(gpointer dialog);

namespace relay_hub {

// Runs the job on a worker and turns the main loop, with blocking turns, until it is done; joins. Prints
// "create thread!", "terminated of thread!" or "create thread fail !". Ends with the summary box when entries
// failed. 0, or the error of the thread's start.
int run_local_job(__task_list* job);

}  // namespace relay_hub
