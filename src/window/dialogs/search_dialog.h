#pragma once
// The busy dialog: modal and transient for the main window; closing it abandons the running request.
// Window's thread.
#include <gtk/gtk.h>

#include "base/non_copyable.h"

int show_search_dialog(GtkWidget* parent, GtkWidget** dialog_out, gpointer data);
void close_search_dialog(GtkWidget* dialog);

namespace relay_hub {

// The busy dialog over the main window for a scope. Keys pressed meanwhile reach the window afterwards.
// Nests: an inner one shows nothing.
class BusyDialog : NonCopyable {
  public:
    BusyDialog();
    ~BusyDialog();

  private:
    GtkWidget* dialog_ = nullptr;
};

}  // namespace relay_hub
