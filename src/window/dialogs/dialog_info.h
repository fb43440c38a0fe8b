#pragma once
// The record of the progress dialog. Window's thread.
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
