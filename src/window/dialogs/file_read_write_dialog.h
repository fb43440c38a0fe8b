#pragma once
// The progress dialog that accompanies a copy or delete; one for the process. Window's thread.
#include <gtk/gtk.h>

#include "link_engine/send_args.h"

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

// Builds and shows the dialog. 0, or -1 with nothing shown when a widget could not be made.
int show_file_read_write_dialog(GtkWidget* parent, GtkWidget** dialog_out, dialog_job job, int task_type);
void close_file_read_write_dialog(GtkWidget* dialog);
dialog_info* get_file_read_write_dialog_info();

// The function run every 300 ms while the dialog is shown, with the dialog_info; null for the default pulse.
extern GSourceFunc g_pUpdateFun;
void set_update_fun(GSourceFunc function);
void relese_update_fun();
