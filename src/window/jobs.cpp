#include "window/jobs.h"

#include <pthread.h>

#include <cstdio>
#include <exception>
#include <string>

#include "base/diagnostics.h"
#include "base/main_loop.h"
#include "base/translated_text.h"
#include "base/worker.h"
#include "link_engine/request_builders.h"
#include "link_engine/send_args.h"
#include "util/copy_job.h"
#include "util/delete_job.h"
#include "util/job_failures.h"
#include "window/closing.h"
#include "window/dialogs/message_dialog.h"
#include "window/job_progress.h"
#include "window/message_parent.h"

volatile int atomic_flag = 0;
dialog_info* dialog_ptr = nullptr;
const dialog_job* tasks_ptr = nullptr;

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

void show_failures(const __task_list& job) {
    const std::string text = relay_hub::failure_summary(job.failures);
    if (text.empty() || relay_hub::window_is_closing())
        return;
    relay_hub::show_error_box(relay_hub::message_parent(), GTK_BUTTONS_OK, text.c_str(), nullptr);
}

void run_on_this_thread(__task_list* job) {
    job->worker = pthread_self();
    act_on_kind(job->task_kind, job, Gfile_local_copy, Gfile_local_delete);
    finish_state(&job->state);
}

gboolean loop_goes_on(const char* running_line) {
    if (atomic_flag == 1) {
        std::puts("STOP_LOOP");
        return G_SOURCE_REMOVE;
    }
    std::fputs(running_line, stdout);
    return G_SOURCE_CONTINUE;
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

unsigned int new_idle_loop(GSourceFunc function, gpointer data) {
    atomic_flag = 0;
    return gdk_threads_add_idle(function != nullptr ? function : update_information, data);
}

unsigned int new_timeout_loop(unsigned int interval_ms, GSourceFunc function, gpointer data) {
    atomic_flag = 0;
    return gdk_threads_add_timeout(interval_ms, function != nullptr ? function : do_something, data);
}

int stop_loop() {
    atomic_flag = 1;
    return 0;
}

gboolean update_information(gpointer) {
    return loop_goes_on("CONTINUE_LOOP\n");
}

gboolean do_something(gpointer dialog) {
    dialog_ptr = static_cast<dialog_info*>(dialog);
    tasks_ptr = &dialog_ptr->job;
    if (!loop_goes_on("CONTINUE_LOOP  "))
        return G_SOURCE_REMOVE;
    if (dialog_ptr->dialog == nullptr)
        return G_SOURCE_CONTINUE;
    if (tasks_ptr->task_kind != nullptr && *tasks_ptr->task_kind <= TASK_DEL)
        gtk_label_set_text(GTK_LABEL(dialog_ptr->message_label), relay_hub::translated("IDS_MSG_PROCESSING"));
    gtk_progress_bar_pulse(GTK_PROGRESS_BAR(dialog_ptr->progress_bar));
    return G_SOURCE_CONTINUE;
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
    show_failures(*job);
    return 0;
}

}  // namespace relay_hub
