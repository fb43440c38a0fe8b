#pragma once
// The orderly end of the window. Handlers that turn the main loop hold a WindowWork; closing cancels what
// runs, ends open dialogs, lets the handlers unwind, and only then destroys the window, so that no handler
// ever meets a dead widget. Window's thread only, but for window_is_closing.
#include <gtk/gtk.h>

#include "util/job_state.h"

namespace relay_hub {

// Any thread.
bool window_is_closing();

// Starts the end: abandons requests, cancels the local job, releases confirmations, answers open dialogs
// with GTK_RESPONSE_DELETE_EVENT, and destroys the main window when the last WindowWork is gone. Should that
// take more than 1.5 seconds, writes the trace's closing lines and ends the process with status 0.
void close_window();

// Undoes close_window's flags, for tests.
void reset_closing();

class WindowWork {
  public:
    WindowWork();
    WindowWork(const WindowWork&) = delete;
    WindowWork& operator=(const WindowWork&) = delete;
    ~WindowWork();
};

// gtk_dialog_run that closing can end. While the program is closing it returns at once.
int run_dialog(GtkDialog* dialog);

// The local job that closing cancels; null for none.
void set_running_job(__task_list* job);

// True while a WindowWork is held: no action that would start a request or job may begin.
bool window_is_busy();

}  // namespace relay_hub
