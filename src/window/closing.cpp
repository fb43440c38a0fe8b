#include "window/closing.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "base/glib_owners.h"
#include "base/log.h"
#include "base/wait.h"
#include "link_engine/command_runner.h"
#include "link_engine/confirmation.h"
#include "window/ui_sets.h"

namespace relay_hub {
namespace {

constexpr std::chrono::milliseconds kOrderlyEnd(1500);

struct {
    std::atomic<Closing*> current = nullptr;
    Closing of_the_program;
} closings;

// Only what cannot block: another thread may hold the stream's lock, and its reader may be gone to sleep.
void flush_if_possible(std::FILE* stream) {
    pollfd writable{fileno(stream), POLLOUT, 0};
    if (poll(&writable, 1, 0) != 1 || ftrylockfile(stream) != 0)
        return;
    std::fflush(stream);
    funlockfile(stream);
}

}  // namespace

Closing::Closing() : outer_(closings.current.exchange(this)) {
    allow_requests(true);
    accept_confirmations_again();
}

Closing::~Closing() {
    watchdog_.stop();
    watchdog_.join();
    closings.current = outer_;
}

// By way of the main loop: the handler that held the last work may still have widgets in its hands.
void Closing::destroy_window_when_unwound() {
    if (begun_ && handlers_have_unwound() && !destruction_)
        destruction_.reset(gdk_threads_add_idle_full(G_PRIORITY_DEFAULT, destroy_window, this, nullptr));
}

gboolean Closing::destroy_window(gpointer data) {
    auto& self = *static_cast<Closing*>(data);
    self.destruction_.forget();
    GtkWidget* window = get_UI_sets()->main_window;
    if (self.handlers_have_unwound() && window != nullptr)
        gtk_widget_destroy(window);
    return G_SOURCE_REMOVE;
}

void Closing::end_open_dialogs() const {
    const std::vector<GtkDialog*> dialogs = open_dialogs_;
    std::for_each(dialogs.rbegin(), dialogs.rend(),
                  [](GtkDialog* dialog) { gtk_dialog_response(dialog, GTK_RESPONSE_DELETE_EVENT); });
}

bool window_is_closing() {
    return closings.current.load()->begun_;
}

void close_window() {
    Closing& closing = *closings.current.load();
    if (closing.begun_.exchange(true))
        return;
    closing.watchdog_.start("the closing watchdog", [] {
        if (interruptible_sleep(kOrderlyEnd))
            end_process();
    });
    allow_requests(false);
    end_confirmations();
    if (closing.running_job_ != nullptr)
        cancel_atomic(&closing.running_job_->state);
    closing.end_open_dialogs();
    closing.destroy_window_when_unwound();
}

WindowWork::WindowWork() {
    ++closings.current.load()->works_;
}

WindowWork::~WindowWork() {
    --closings.current.load()->works_;
    closings.current.load()->destroy_window_when_unwound();
}

int run_dialog(GtkDialog* dialog) {
    Closing& closing = *closings.current.load();
    if (closing.begun_)
        return GTK_RESPONSE_DELETE_EVENT;
    const GObjectPtr<GtkDialog> held(static_cast<GtkDialog*>(g_object_ref(dialog)));
    closing.open_dialogs_.push_back(dialog);
    const int response = gtk_dialog_run(dialog);
    closing.open_dialogs_.pop_back();
    closing.destroy_window_when_unwound();
    return response;
}

void set_running_job(__task_list* job) {
    Closing& closing = *closings.current.load();
    closing.running_job_ = job;
    if (job != nullptr && closing.begun_)
        cancel_atomic(&job->state);
}

bool window_is_busy() {
    return closings.current.load()->works_ > 0;
}

void end_process() {
    theLog.Print("^^^^ Close Log()\n");
    theLog.CloseFile();
    flush_if_possible(stdout);
    _exit(0);
}

}  // namespace relay_hub
