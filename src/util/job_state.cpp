#include "util/job_state.h"

#include <glib.h>

#include <algorithm>
#include <set>
#include <utility>

#include "base/non_copyable.h"

constinit relay_hub::JobStateLock relay_hub::job_state_lock;

namespace {

constexpr pthread_cond_t& state_changed = relay_hub::job_state_lock.changed;

class FastLock : relay_hub::NonCopyable {
  public:
    FastLock() { pthread_mutex_lock(&fast_mutex); }
    ~FastLock() { pthread_mutex_unlock(&fast_mutex); }
};

void wake_waiters() {
    pthread_cond_broadcast(&state_changed);
    g_main_context_wakeup(nullptr);
}

}  // namespace

int set_atomic(volatile int* where, int value) {
    {
        const FastLock lock;
        if (*where == value)
            return 0;
        *where = value;
    }
    wake_waiters();
    return 0;
}

bool cancel_atomic(volatile int* where) {
    {
        const FastLock lock;
        if (*where >= kStateFinished)
            return false;
        *where = TASK_CANCEL;
    }
    wake_waiters();
    return true;
}

int get_atomic(volatile int* where) {
    const FastLock lock;
    return *where;
}

__task_list* new_task_list() {
    return std::make_unique<__task_list>().release();
}

int free_task_list(__task_list* task) {
    const std::unique_ptr<__task_list> owner(task);
    return 0;
}

namespace relay_hub {

JobProgress JobCounters::snapshot() const {
    const std::lock_guard lock(mutex_);
    JobProgress progress = finished_;
    progress.bytes_done += position_;
    progress.bytes_moved += position_;
    // A file may have grown since it was counted.
    progress.items_total = std::max(progress.items_total, progress.items_done);
    progress.bytes_total = std::max(progress.bytes_total, progress.bytes_done);
    return progress;
}

void JobCounters::set_totals(std::uint64_t items, std::uint64_t bytes) {
    const std::lock_guard lock(mutex_);
    finished_.items_total = items;
    finished_.bytes_total = bytes;
    finished_.counted = true;
}

void JobCounters::move_to(std::uint64_t position) {
    const std::lock_guard lock(mutex_);
    position_ = std::max(position_, position);
}

void JobCounters::finish_item(std::uint64_t bytes) {
    const std::lock_guard lock(mutex_);
    ++finished_.items_done;
    finished_.bytes_done += std::max(bytes, position_);
    finished_.bytes_moved += position_;
    position_ = 0;
}

TaskListPtr retry_job(const __task_list& job) {
    TaskListPtr retry(new_task_list());
    retry->task_kind = job.task_kind;
    retry->folder = job.folder;
    std::set<std::string> seen;
    for (const __task_failure& failure : job.failures) {
        if (failure.source.empty() || !seen.insert(failure.source).second)
            continue;
        retry->items.push_back(failure.source);
        if (job.task_kind == TASK_COPY)
            retry->item_folders.push_back(failure.destination.substr(0, failure.destination.rfind('/') + 1));
    }
    return retry->items.empty() ? nullptr : std::move(retry);
}

int wait_while_paused(volatile int* where) {
    const FastLock lock;
    while (*where == kStatePaused)
        pthread_cond_wait(&state_changed, &fast_mutex);
    return *where;
}

}  // namespace relay_hub
