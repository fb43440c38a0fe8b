#pragma once
// The loops that animate a progress dialog, and its record. Window's thread.
#include <gtk/gtk.h>

// What the dialog knows of the job it belongs to: where its state and its kind are. Both stay valid until
// the dialog is closed.
struct dialog_job {
    volatile int* state = nullptr;
    const int* task_kind = nullptr;
};

struct dialog_info {
    GtkWidget* dialog = nullptr;
    GtkWidget* progress_bar = nullptr;
    GtkWidget* message_label = nullptr;
    GtkWidget* second_label = nullptr;  // elapsed time
    GtkWidget* cancel_button = nullptr;
    dialog_job job;
};

namespace relay_hub {

struct Loops {
    volatile int stopped = 0;         // 1 once stop_loop was called
    dialog_info* dialog = nullptr;    // what do_something animated last; borrowed
    const dialog_job* job = nullptr;  // its job; borrowed
    dialog_info info;                 // of the one progress dialog
    // Run every 300 ms while the dialog is shown, with its dialog_info; null for the default pulse.
    GSourceFunc update = nullptr;
    guint update_source = 0;
};
extern Loops loops;

}  // namespace relay_hub

inline constexpr volatile int& atomic_flag = relay_hub::loops.stopped;
inline constexpr dialog_info*& dialog_ptr = relay_hub::loops.dialog;
inline constexpr const dialog_job*& tasks_ptr = relay_hub::loops.job;
inline constexpr GSourceFunc& g_pUpdateFun = relay_hub::loops.update;

// The callbacks are installed so that they run with the GDK lock held.
unsigned int new_idle_loop(GSourceFunc function, gpointer data);
unsigned int new_timeout_loop(unsigned int interval_ms, GSourceFunc function, gpointer data);
int stop_loop();
gboolean update_information(gpointer data);
gboolean do_something(gpointer dialog);
