#pragma once
// The progress dialog over the main window, open until close() or the end of the scope. Window's thread.
#include <gtk/gtk.h>

namespace relay_hub {

class ProgressDialog {
  public:
    // Both places must outlive the dialog. A null updater means the default pulse.
    ProgressDialog(volatile int* state, const int* task_kind, GSourceFunc updater);
    ProgressDialog(const ProgressDialog&) = delete;
    ProgressDialog& operator=(const ProgressDialog&) = delete;
    ~ProgressDialog();
    void close();

  private:
    GtkWidget* dialog_ = nullptr;  // null once it is closed
};

}  // namespace relay_hub
