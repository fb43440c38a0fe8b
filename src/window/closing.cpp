#include "window/closing.h"

#include <algorithm>
#include <atomic>
#include <utility>
#include <vector>

#include "base/glib_owners.h"
#include "link_engine/command_runner.h"
#include "link_engine/transfer_state.h"
#include "window/closing_watchdog.h"
#include "window/ui_sets.h"

namespace relay_hub {
namespace {

std::atomic<bool> closing = false;
Watchdog watchdog;
int works = 0;
bool destruction_scheduled = false;
__task_list* running_job = nullptr;
std::vector<GtkDialog*> open_dialogs;  // innermost last

bool handlers_have_unwound() {
    return works == 0 && open_dialogs.empty();
}

gboolean destroy_window(gpointer) {
    destruction_scheduled = false;
    GtkWidget* window = get_UI_sets()->main_window;
    if (closing && handlers_have_unwound() && window != nullptr)
        gtk_widget_destroy(window);
    return G_SOURCE_REMOVE;
}

// By way of the main loop: the handler that held the last work may still have widgets in its hands.
void destroy_window_when_unwound() {
    if (!closing || !handlers_have_unwound() || std::exchange(destruction_scheduled, true))
        return;
    gdk_threads_add_idle_full(G_PRIORITY_DEFAULT, destroy_window, nullptr, nullptr);
}

void end_open_dialogs() {
    const std::vector<GtkDialog*> dialogs = open_dialogs;
    std::for_each(dialogs.rbegin(), dialogs.rend(),
                  [](GtkDialog* dialog) { gtk_dialog_response(dialog, GTK_RESPONSE_DELETE_EVENT); });
}

}  // namespace

bool window_is_closing() {
    return closing;
}

void close_window() {
    if (closing.exchange(true))
        return;
    watchdog.arm();
    allow_requests(false);
    end_confirmations();
    if (running_job != nullptr)
        cancel_atomic(&running_job->state);
    end_open_dialogs();
    destroy_window_when_unwound();
}

void reset_closing() {
    watchdog.disarm();
    allow_requests(true);
    accept_confirmations_again();
    closing = false;
}

WindowWork::WindowWork() {
    ++works;
}

WindowWork::~WindowWork() {
    --works;
    destroy_window_when_unwound();
}

int run_dialog(GtkDialog* dialog) {
    if (closing)
        return GTK_RESPONSE_DELETE_EVENT;
    const GObjectPtr<GtkDialog> held(static_cast<GtkDialog*>(g_object_ref(dialog)));
    open_dialogs.push_back(dialog);
    const int response = gtk_dialog_run(dialog);
    open_dialogs.pop_back();
    destroy_window_when_unwound();
    return response;
}

void set_running_job(__task_list* job) {
    running_job = job;
    if (job != nullptr && closing)
        cancel_atomic(&job->state);
}

bool window_is_busy() {
    return works > 0;
}

}  // namespace relay_hub
