#pragma once
// The orderly end of the window. Handlers that turn the main loop hold a WindowWork; closing cancels what
// runs, ends open dialogs, lets the handlers unwind, and only then destroys the window, so that no handler
// ever meets a dead widget. Window's thread only, but for window_is_closing and end_process.
#include <gtk/gtk.h>

#include <atomic>
#include <vector>

#include "base/main_loop_source.h"
#include "base/non_copyable.h"
#include "base/worker.h"
#include "util/job_state.h"

namespace relay_hub {

// The state of one window's end. The program has one; a newer one counts while it lives, as if nothing had
// begun to close.
class Closing : NonCopyable {
  public:
    Closing();
    ~Closing();

  private:
    friend bool window_is_closing();
    friend void close_window();
    friend class WindowWork;
    friend int run_dialog(GtkDialog* dialog);
    friend void set_running_job(__task_list* job);
    friend bool window_is_busy();

    static gboolean destroy_window(gpointer self);
    [[nodiscard]] bool handlers_have_unwound() const { return works_ == 0 && open_dialogs_.empty(); }
    void destroy_window_when_unwound();
    void end_open_dialogs() const;

    Closing* outer_;
    std::atomic<bool> begun_ = false;
    int works_ = 0;
    MainLoopSource destruction_;
    __task_list* running_job_ = nullptr;
    std::vector<GtkDialog*> open_dialogs_;  // innermost last
    Worker watchdog_;  // ends the process when the orderly end takes too long, even with a stuck main loop
};

// Any thread.
bool window_is_closing();

// Starts the end: abandons requests, cancels the local job, releases confirmations, answers open dialogs
// with GTK_RESPONSE_DELETE_EVENT, and destroys the main window when the last WindowWork is gone. Should that
// take more than 1.5 seconds, calls end_process.
void close_window();

class WindowWork : NonCopyable {
  public:
    WindowWork();
    ~WindowWork();
};

// gtk_dialog_run that closing can end. While the program is closing it returns at once.
int run_dialog(GtkDialog* dialog);

// The local job that closing cancels; null for none.
void set_running_job(__task_list* job);

// True while a WindowWork is held: no action that would start a request or job may begin.
bool window_is_busy();

// Ends the process with status 0 at once, without its exit handlers: writes the trace's closing lines and
// flushes standard output. Any thread.
[[noreturn]] void end_process();

}  // namespace relay_hub
