#include "window/jobs.h"

#include <pthread.h>

#include <cstdio>
#include <exception>

#include "base/diagnostics.h"
#include "base/main_loop.h"
#include "base/main_loop_source.h"
#include "base/progress_text.h"
#include "base/worker.h"
#include "link_engine/request_builders.h"
#include "link_engine/send_args.h"
#include "util/copy_job.h"
#include "util/delete_job.h"
#include "window/closing.h"
#include "window/loops.h"

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
namespace {

// How far a job is, in the progress dialog's second label, which is kept up to date while this lives.
class JobProgressLine {
  public:
    explicit JobProgressLine(const JobCounters& counters)
        : counters_(counters), timer_(gdk_threads_add_timeout(kUpdateInterval, update, this)) {}
    // Shows the state at the job's end, not that of the last tick.
    ~JobProgressLine() { (void)update(this); }

  private:
    static constexpr guint kUpdateInterval = 300;

    static gboolean update(gpointer self) {
        auto* line = static_cast<JobProgressLine*>(self);
        const JobProgress progress = line->counters_.snapshot();
        const dialog_info& info = loops.info;
        if (info.second_label == nullptr || !progress.counted)
            return G_SOURCE_CONTINUE;
        const ProgressCounts counts{progress.items_done, progress.items_total, 0,
                                    progress.bytes_done, progress.bytes_total, progress.bytes_moved};
        gtk_label_set_text(GTK_LABEL(info.second_label),
                           line->text_.text(counts, ProgressText::Clock::now()).c_str());
        return G_SOURCE_CONTINUE;
    }

    const JobCounters& counters_;
    ProgressText text_;
    MainLoopSource timer_;
};

}  // namespace

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
