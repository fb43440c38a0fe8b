#pragma once
// What was copied last and from where, shared by both panes and the menus. Window's thread.
#include <gtk/gtk.h>

#include <string>
#include <vector>

#include "link_engine/send_args.h"

inline constexpr int kCopiedLocally = 0;
inline constexpr int kCopiedRemotely = 1;
inline constexpr int kNothingCopied = 2;

extern int g_copy_source;
extern GtkWidget* g_p_tree_view;  // the list whose selection was copied; null for none
extern int clipboard_action;      // 1 nothing offered, 2 copy, 4 cut
extern std::vector<std::string> g_pClipboardFileList;
extern std::vector<std::string> g_copy_to_remote_file_list;  // full remote paths

void set_copy_to_remote_file_list(std::vector<std::string> paths);
const std::vector<std::string>& get_copy_to_remote_file_list();
int release_copy_to_remote_file_list();

// The folder of the pane in which the last copy was made.
std::string get_old_copy_path();
void set_old_copy_path(const std::string& folder);
void free_old_copy_path();

int save_to_clipboard(gpointer data);
void clipboard_get_data(GtkClipboard* clipboard, GtkSelectionData* selection, guint info, gpointer data);
void clipboard_clean_data(GtkClipboard* clipboard, gpointer data);
void release_clipboard(GtkClipboard* clipboard);
// Prepends the offered local paths to list. 0, or -1 when nothing usable is offered.
int get_from_clipboard(std::vector<std::string>& list);

namespace relay_hub {

// True when another program (or this one) offers files on the desktop clipboard. Does not wait for the data.
bool clipboard_offers_files();

// Attributes of one remote row, for a remote-to-local copy.
struct RemoteItem {
    std::string path;
    int type = 0;  // 0 file, 1 folder
    std::string size;
    std::string created;
    std::string accessed;
    std::string modified;
};
// The selected remote rows as they are now; kept at copy or drag time, so that browsing on loses nothing.
void remember_remote_selection(GtkWidget* tree_view, const std::string& folder);
const std::vector<RemoteItem>& remembered_remote_selection();

}  // namespace relay_hub
