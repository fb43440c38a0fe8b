#pragma once
// What was copied last and from where, shared by both panes and the menus. Window's thread.
#include <gtk/gtk.h>

#include <string>
#include <vector>

#include "link_engine/send_args.h"

inline constexpr int kCopiedLocally = 0;
inline constexpr int kCopiedRemotely = 1;
inline constexpr int kNothingCopied = 2;

// Values of clipboard_action.
inline constexpr int kNothingOffered = 1;
inline constexpr int kCopyOffered = 2;
inline constexpr int kCutOffered = 4;

namespace relay_hub {

struct RemoteItem {
    std::string name;
    std::string path;
    ItemAttributes attributes;
};

// What was copied; the members are known by the fixed names below.
struct CopySource {
    int kind = kNothingCopied;
    GtkWidget* tree_view = nullptr;  // the list whose selection was copied; null for none
    int clipboard_action = kNothingOffered;
    std::vector<std::string> local_paths;   // full, in the order of the list
    std::vector<std::string> remote_paths;  // full, in the order of the list
    std::string folder;                     // of the pane in which the last copy was made
    std::vector<RemoteItem> remembered;     // the remote rows of the last copy, cut or drag
    std::vector<RemoteItem> copied;         // of the last copy or cut alone
    bool cut = false;
};
extern CopySource copy_source;

}  // namespace relay_hub

inline constexpr int& g_copy_source = relay_hub::copy_source.kind;
inline constexpr GtkWidget*& g_p_tree_view = relay_hub::copy_source.tree_view;
inline constexpr int& clipboard_action = relay_hub::copy_source.clipboard_action;
inline constexpr std::vector<std::string>& g_pClipboardFileList = relay_hub::copy_source.local_paths;
inline constexpr std::vector<std::string>& g_copy_to_remote_file_list = relay_hub::copy_source.remote_paths;
inline constexpr std::string& g_old_copy_path = relay_hub::copy_source.folder;

void set_copy_to_remote_file_list(std::vector<std::string> paths);
const std::vector<std::string>& get_copy_to_remote_file_list();
int release_copy_to_remote_file_list();

// The folder of the pane in which the last copy was made.
std::string get_old_copy_path();
void set_old_copy_path(const std::string& folder);
void free_old_copy_path();

namespace relay_hub {

// What is to be copied: full paths, in their order. What is cut leaves its place once all of it has arrived.
struct Offer {
    std::vector<std::string> paths;
    bool cut = false;
    // URIs of other machines' files: the user gets a message, nothing is copied.
    std::vector<std::string> foreign{};
};

// The selected remote rows as they are now; kept at copy or drag time, so that browsing on loses nothing.
void remember_remote_selection(GtkWidget* tree_view, const std::string& folder);
ItemAttributes row_attributes(GtkTreeModel* model, GtkTreeIter* iter);

// What was remembered last becomes the attributes of the copied (or cut) items, which later drags do not
// touch.
void keep_remote_copy(bool cut);
// What was copied or cut in the remote pane.
Offer remote_copy();

// Whether what was copied last, in either pane, was cut.
bool is_cut();
// Forgets what was copied.
void clear_copy_source();

}  // namespace relay_hub
