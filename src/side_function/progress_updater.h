#pragma once
// What the progress dialog shows of remote work. Window's thread.
#include <gtk/gtk.h>

// The dialog's updater; info is the dialog_info.
gboolean update_dialog_info(gpointer info);
