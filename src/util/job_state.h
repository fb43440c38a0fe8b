#pragma once
// The state of a job or request, and the record of a local job. A state is one int that the window and a
// worker share; it is read and written only through get_atomic and set_atomic, from any thread.
#include <pthread.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// Values of a state.
inline constexpr int kStateRunning = 0;
inline constexpr int kStatePaused = 1;
inline constexpr int kStateFinished = 2;
inline constexpr int TASK_CANCEL = 3;

// Task kinds; the last two are kinds of remote requests only.
inline constexpr int TASK_COPY = 0;
inline constexpr int TASK_MOVE = 1;
inline constexpr int TASK_DEL = 2;
inline constexpr int kTaskRename = 3;
inline constexpr int kTaskCreateFolder = 4;

// Stores value under the one process-wide mutex and, where that changes it, wakes the main loop, so that code
// waiting for a state in a blocking main-loop turn looks again. Returns 0.
int set_atomic(volatile int* where, int value);
// Sets the state to 3 unless it is already 2 or more; returns true when it did. Wakes like set_atomic.
bool cancel_atomic(volatile int* where);
int get_atomic(volatile int* where);

namespace relay_hub {

struct JobStateLock {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
};
extern JobStateLock job_state_lock;

}  // namespace relay_hub

// The mutex behind the three above. Nobody else locks it.
inline constexpr pthread_mutex_t& fast_mutex = relay_hub::job_state_lock.mutex;

// One entry that a local job could not handle.
struct __task_failure {
    std::string path;           // as the user is to see it
    std::string reason;         // in the user's language
    std::string source{};       // what to try again; empty when nothing can be
    std::string destination{};  // copy: the full path that source was to get
    bool shown = false;         // a box has shown it already: the summary leaves it out
};

namespace relay_hub {

// How far a job has come. Of a copy every entry counts, of a delete what was selected, without bytes.
struct JobProgress {
    std::uint64_t items_done = 0;
    std::uint64_t items_total = 0;
    std::uint64_t bytes_done = 0;
    std::uint64_t bytes_total = 0;
    std::uint64_t bytes_moved = 0;  // of those done: the others were left out
    bool counted = false;           // the totals are known
};

// Kept by the worker, read by the thread that watches the job. Any thread; never goes back.
class JobCounters {
  public:
    // One consistent state.
    [[nodiscard]] JobProgress snapshot() const;

    void set_totals(std::uint64_t items, std::uint64_t bytes);
    // The current item has come so far, in bytes.
    void move_to(std::uint64_t position);
    // The current item, of that size, is done with, whatever became of it.
    void finish_item(std::uint64_t bytes);

  private:
    mutable std::mutex mutex_;
    JobProgress finished_;        // guarded by mutex_
    std::uint64_t position_ = 0;  // in the current item; guarded by mutex_
};

}  // namespace relay_hub

// The record of one local copy or delete. The window fills it, the worker reads it and writes state,
// what it found; that is read by the window after the join only.
struct __task_list {
    pthread_t worker{};
    int state = kStateRunning;
    int task_kind = TASK_COPY;
    std::vector<std::string> items;  // copy: full source paths; delete: entry names
    std::string folder;              // copy: destination folder; delete: the folder that holds the names
    std::vector<std::string> item_folders;  // copy: each item's own destination folder; empty: folder for all
    relay_hub::JobCounters counters;
    std::vector<__task_failure> failures;
    std::vector<std::string> refused;  // copy: sources that the user let replace nothing
    bool went_through_all = false;     // copy: neither cancelled nor broken off; failures may be among them
};

__task_list* new_task_list();
// Frees the record; null is ignored. Returns 0.
int free_task_list(__task_list* task);

namespace relay_hub {

// Sleeps while the state is 1 (paused); any set_atomic or cancel_atomic wakes it. Returns the state that
// ended the wait. Workers only.
int wait_while_paused(volatile int* where);

struct TaskListDeleter {
    void operator()(__task_list* task) const { free_task_list(task); }
};
using TaskListPtr = std::unique_ptr<__task_list, TaskListDeleter>;

// A job of the same kind for what the finished job could not handle. Null when there is nothing of it that
// could be tried again.
TaskListPtr retry_job(const __task_list& job);

}  // namespace relay_hub
