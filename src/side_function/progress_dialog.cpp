#include "side_function/progress_dialog.h"

#include <cstdio>
#include <utility>

#include "window/dialogs/file_read_write_dialog.h"
#include "window/ui_sets.h"

namespace relay_hub {

ProgressDialog::ProgressDialog(volatile int* state, const int* task_kind, GSourceFunc updater) {
    set_update_fun(updater);
    std::puts("show dialog!");
    show_file_read_write_dialog(get_UI_sets()->main_window, &dialog_, dialog_job{state, task_kind},
                                *task_kind);
}

ProgressDialog::~ProgressDialog() {
    close();
}

void ProgressDialog::close() {
    if (dialog_ == nullptr)
        return;
    std::puts("close dialog!");
    // The last state is to be seen before it goes.
    gdk_window_process_all_updates();
    close_file_read_write_dialog(std::exchange(dialog_, nullptr));
    relese_update_fun();
}

}  // namespace relay_hub
