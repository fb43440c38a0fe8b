#pragma once
// The process-based runner, the shared memory through which its child answers, and the status query.
#include <sys/stat.h>

// The process-based runner: start runs in a child process and returns the identifier of the segment that
// holds its answer. Window's thread.
int send_command(int (*start)(void*), int (*finish)(void*), void* arg);
// The identifier that the last child process left, 0 before the first.
int get_shared_mem_id();

namespace relay_hub {

struct ChildRunner {
    int* shared_word = nullptr;       // in memory shared with the child, or null
    volatile int ended_children = 0;  // the SIGCHLD handler counts
    int segment_left = 0;             // as get_shared_mem_id gives it
};
extern ChildRunner child_runner;

}  // namespace relay_hub

inline constexpr int*& g_shm_id_ptr = relay_hub::child_runner.shared_word;
inline constexpr volatile int& signal_count = relay_hub::child_runner.ended_children;

// The attached address, or null after a line on standard error.
void* create_shared_memory(int key, int size, int* id);
// The attached address plus one (callers subtract one), or null after a line on standard error.
void* attache_shared_memory(int id);
int destroy_shared_memory(void* address, int id);
// stat(path): 0, or -1 after a line on standard error.
int get_file_stat(const char* path, struct stat* out);
