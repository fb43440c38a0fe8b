#include "util/job_state.h"

#include <glib.h>

pthread_mutex_t fast_mutex = PTHREAD_MUTEX_INITIALIZER;

namespace {

pthread_cond_t state_changed = PTHREAD_COND_INITIALIZER;

class FastLock {
  public:
    FastLock() { pthread_mutex_lock(&fast_mutex); }
    ~FastLock() { pthread_mutex_unlock(&fast_mutex); }
    FastLock(const FastLock&) = delete;
    FastLock& operator=(const FastLock&) = delete;
};

void wake_waiters() {
    pthread_cond_broadcast(&state_changed);
    g_main_context_wakeup(nullptr);
}

}  // namespace

int set_atomic(volatile int* where, int value) {
    {
        const FastLock lock;
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

int wait_while_paused(volatile int* where) {
    const FastLock lock;
    while (*where == kStatePaused)
        pthread_cond_wait(&state_changed, &fast_mutex);
    return *where;
}

}  // namespace relay_hub
