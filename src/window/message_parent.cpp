#include "window/message_parent.h"

#include "window/dialogs/file_read_write_dialog.h"
#include "window/ui_sets.h"

namespace relay_hub {

GtkWidget* message_parent() {
    GtkWidget* progress = get_file_read_write_dialog_info()->dialog;
    return progress != nullptr ? progress : get_UI_sets()->main_window;
}

}  // namespace relay_hub
