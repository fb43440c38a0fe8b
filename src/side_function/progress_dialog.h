#pragma once
// The progress dialog over the main window, open until close() or the end of the scope. Window's thread.
#include <gtk/gtk.h>

#include "base/non_copyable.h"

namespace relay_hub {

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
