#include "window/loops.h"

#include <cstdio>

#include "base/translated_text.h"
#include "util/job_state.h"

constinit relay_hub::Loops relay_hub::loops;

namespace {

gboolean loop_goes_on(const char* running_line) {
    if (atomic_flag == 1) {
        std::puts("STOP_LOOP");
        return G_SOURCE_REMOVE;
    }
    std::fputs(running_line, stdout);
    return G_SOURCE_CONTINUE;
}

}  // namespace

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
