#pragma once
// The progress dialog that accompanies a copy or delete; one for the process. Window's thread.
#include <gtk/gtk.h>

#include "window/dialogs/dialog_info.h"

// Builds and shows the dialog. 0, or -1 with nothing shown when a widget could not be made.
int show_file_read_write_dialog(GtkWidget* parent, GtkWidget** dialog_out, dialog_job job, int task_type);
void close_file_read_write_dialog(GtkWidget* dialog);
dialog_info* get_file_read_write_dialog_info();

namespace relay_hub {

struct ProgressDialogState {
    dialog_info info;
    // Run every 300 ms while the dialog is shown, with its dialog_info; null for the default pulse.
    GSourceFunc update = nullptr;
    guint update_source = 0;
};
extern ProgressDialogState progress_dialog_state;

}  // namespace relay_hub

inline constexpr GSourceFunc& g_pUpdateFun = relay_hub::progress_dialog_state.update;
void set_update_fun(GSourceFunc function);
void relese_update_fun();
