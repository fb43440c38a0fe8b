#pragma once
// What the actions of both panes share: the panes' folders and selections, the progress dialog as a scope,
// texts for the eye and for the wire. Window's thread, but for traced_unicode_hex.
#include <gtk/gtk.h>

#include <string>
#include <vector>

#include "base/diagnostics.h"
#include "link_engine/send_args.h"
#include "window/ui_sets.h"

namespace relay_hub {

// The unit that the remote pane's diagnostics name, whichever source speaks.
inline constexpr const char* kRemotePaneUnit = "../src/side_function/Zev_right_side.cpp";

__single* local_side();
__single* remote_side();
std::string folder_of(const __single* side);

// The selected names that an action may take: neither ".." nor a nameless row, which would stand for the
// folder itself. Reverse order of the selection.
std::vector<std::string> selected_names(GtkWidget* tree_view);
// The position of the first selected row, 0 when none is selected.
int first_selected_position(GtkWidget* tree_view);

// The last part of a remote path: after the last backslash of a drive-letter path, else after the last slash.
std::string remote_base_name(const std::string& path);

// unicode_hex with its trace on standard output. Any thread.
std::string traced_unicode_hex(const std::string& text);

// Shows the text that the engine or a reader left for the user, if there is one, and clears it.
void show_waiting_message();
// The same at the end of a request that came to result. An engine that is gone, or gives no reason, must not
// look like one that did what was asked.
void show_end_message(int result);

// Reads the pane's folder again; the one selected row stays the selected one. 0 success.
int reload_local();
int reload_remote();
// The row of that name, else the row near position, becomes the selected one; the keyboard focus goes to the
// list.
void select_after_reload(const __single* side, const std::string& name);
void select_after_reload(const __single* side, int position);
// The rows of these names, with the cursor on that of cursor.
void select_after_reload(const __single* side, const std::vector<std::string>& names,
                         const std::string& cursor);

// The progress dialog over the main window, open until close() or the end of the scope.
class ProgressDialog {
  public:
    // Both places must outlive the dialog. A null updater means the default pulse.
    ProgressDialog(volatile int* state, const int* task_kind, GSourceFunc updater);
    ProgressDialog(const ProgressDialog&) = delete;
    ProgressDialog& operator=(const ProgressDialog&) = delete;
    ~ProgressDialog();
    void close();

  private:
    GtkWidget* dialog_ = nullptr;
    bool open_ = true;
};

}  // namespace relay_hub

#define REMOTE_PANE_HERE                               \
    relay_hub::CallSite {                              \
        relay_hub::kRemotePaneUnit, __func__, __LINE__ \
    }
