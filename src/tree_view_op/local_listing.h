#pragma once
// The entries of a local folder as rows. Window's thread.
#include <gtk/gtk.h>

#include <string>

// Shows a local folder. Small folders are filled in one turn; a large one is read on a worker and filled in
// slices between main-loop turns, announced to the ListingWatcher. Returns 0.
int once_search_and_insert_to_treeview(const std::string& folder, GtkWidget* tree_view);

namespace relay_hub {

// Whether that lists names that begin with "."; not at first. For the next listing.
void show_hidden_files(GtkWidget* tree_view, bool shown);
bool hidden_files_are_shown(GtkWidget* tree_view);

}  // namespace relay_hub
