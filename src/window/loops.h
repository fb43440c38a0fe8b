#pragma once
// The loops that animate a progress dialog. Window's thread.
#include <gtk/gtk.h>

#include "window/dialogs/dialog_info.h"

extern volatile int atomic_flag;     // 1 once stop_loop was called; window's thread
extern dialog_info* dialog_ptr;      // what do_something animated last; borrowed
extern const dialog_job* tasks_ptr;  // its job; borrowed

// The callbacks are installed so that they run with the GDK lock held.
unsigned int new_idle_loop(GSourceFunc function, gpointer data);
unsigned int new_timeout_loop(unsigned int interval_ms, GSourceFunc function, gpointer data);
int stop_loop();
gboolean update_information(gpointer data);
gboolean do_something(gpointer dialog);
