#pragma once
// Runs one request on a worker thread while the window stays live, then hands the answer to its reader.
// send_command_t is called on the window's thread, with the GDK lock held; it turns the main loop with
// blocking turns, serves the engine's overwrite questions, and returns the reader's result. Requests nest.
#include <sys/stat.h>

#include "link_engine/send_args.h"

using command_start_t = int (*)(void* args);
using command_finish_t = int (*)(__send_args* args);

int send_command_t(command_start_t start, command_finish_t finish, __send_args* args);
// The one-second timer of a run with a time limit; args is the __send_args block.
int block_timer(void* args);

// The process-based runner and its shared-memory helpers; no operation uses them.
int send_command(int (*start)(void*), int (*finish)(void*), void* arg);
extern int* g_shm_id_ptr;
extern volatile int signal_count;  // child processes that have ended; the SIGCHLD handler counts
void* create_shared_memory(int key, int size, int* id);
void* attache_shared_memory(int id);
int destroy_shared_memory(void* address, int id);
int get_file_stat(const char* path, struct stat* out);

namespace relay_hub {

// Gives up the innermost running request: its send returns, its reader runs on an empty answer. Nothing
// when no request runs. Window's thread.
void abandon_current_request();
// The same for every running request, for the end of the program. Any thread.
void abandon_all_requests();

}  // namespace relay_hub
