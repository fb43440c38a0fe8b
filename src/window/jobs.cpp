#include "window/jobs.h"

#include <pthread.h>

#include <cstdio>
#include <exception>

#include "base/diagnostics.h"
#include "base/main_loop.h"
#include "base/worker.h"
#include "link_engine/request_builders.h"
#include "link_engine/send_args.h"
#include "util/copy_job.h"
#include "util/delete_job.h"
#include "window/closing.h"
#include "window/job_progress.h"

namespace {

using JobAction = int (*)(void* record);

void act_on_kind(int kind, void* record, JobAction copy, JobAction remove) {
    constexpr const char* kChoices[] = {"chose TASK_COPY", "chose TASK_MOVE", "chose TASK_DEL"};
    if (kind < TASK_COPY || kind > TASK_DEL)
        return;
    std::puts(kChoices[kind]);
    const JobAction action = kind == TASK_COPY ? copy : kind == TASK_DEL ? remove : nullptr;
    if (action == nullptr)
        return;
    try {
        action(record);
    } catch (const std::exception& error) {
        relay_hub::report(RELAY_HUB_HERE, "the job ended early:", error.what());
    }
}

void finish_state(volatile int* state) {
    if (get_atomic(state) != TASK_CANCEL)
        set_atomic(state, kStateFinished);
}

void run_on_this_thread(__task_list* job) {
    job->worker = pthread_self();
    act_on_kind(job->task_kind, job, Gfile_local_copy, Gfile_local_delete);
    finish_state(&job->state);
}

}  // namespace

void* start_job_routine(void* task) {
    run_on_this_thread(static_cast<__task_list*>(task));
    pthread_exit(nullptr);
}

void* start_job_routine_for_linkengange(void* args) {
    auto* request = static_cast<__send_args*>(args);
    request->worker = pthread_self();
    act_on_kind(request->task_kind, request, set_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE, nullptr);
    finish_state(&request->state);
    pthread_exit(nullptr);
}

namespace relay_hub {

int run_local_job(__task_list* job) {
    const WindowWork work;
    std::puts("create thread!");
    Worker worker;
    if (const int error = worker.start("a local job", [job] { run_on_this_thread(job); })) {
        std::puts("create thread fail !");
        return error;
    }
    const JobProgressLine progress(job->counters);
    set_running_job(job);
    turn_main_loop_until([&worker] { return !worker.running(); });
    worker.join();
    std::puts("terminated of thread!");
    set_running_job(nullptr);
    return 0;
}

}  // namespace relay_hub
