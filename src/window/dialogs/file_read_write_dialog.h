#pragma once
// The progress dialog that accompanies a copy or delete; one for the process. Window's thread.
#include <gtk/gtk.h>

#include "base/non_copyable.h"
#include "window/loops.h"

// Builds and shows the dialog. 0, or -1 with nothing shown when a widget could not be made.
int show_file_read_write_dialog(GtkWidget* parent, GtkWidget** dialog_out, dialog_job job, int task_type);
void close_file_read_write_dialog(GtkWidget* dialog);
dialog_info* get_file_read_write_dialog_info();

// Sets and clears g_pUpdateFun (loops.h).
void set_update_fun(GSourceFunc function);
void relese_update_fun();

namespace relay_hub {

// The dialog over the main window, open until close() or the end of the scope.
class ProgressDialog : NonCopyable {
  public:
    // Both places must outlive the dialog. A null updater means the default pulse.
    ProgressDialog(volatile int* state, const int* task_kind, GSourceFunc updater);
    ~ProgressDialog();
    void close();

  private:
    GtkWidget* dialog_ = nullptr;  // null once it is closed
};

}  // namespace relay_hub
