#pragma once
// The selection as names and paths, and what becomes selected. Window's thread.
#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <vector>

// The tree paths of the selected rows; the caller frees paths and list (gtk_tree_path_free, g_list_free).
GList* get_selected_to_treepath_list(GtkWidget* tree_view);
// The selected rows' names without "..", in reverse order of the selection.
std::vector<std::string> get_selected_to_glist(GtkWidget* tree_view);
gboolean treeview_selected_callback(GtkTreeSelection* selection, GtkTreeModel* model, GtkTreePath* path,
                                    gboolean currently_selected, gpointer data);

namespace relay_hub {

// Calls visit for each selected row, in the list's order.
using RowVisit = std::function<void(GtkTreeModel* model, GtkTreeIter* iter)>;
void for_each_selected(GtkTreeView* tree_view, const RowVisit& visit);
// As get_selected_to_glist, in the list's order.
std::vector<std::string> selected_names(GtkWidget* tree_view);
// Selects the row of that name (and no other), scrolls to it and puts the cursor there. False if there is
// none.
bool select_row_by_name(GtkWidget* tree_view, const std::string& name);
// Selects exactly the rows of these names that there are, puts the cursor on cursor's row, or on the first of
// them, and scrolls to it.
// False when there is none of them.
bool select_rows_by_name(GtkWidget* tree_view, const std::vector<std::string>& names,
                         const std::string& cursor);
// Removes from names what has a row.
void remove_shown_names(GtkWidget* tree_view, std::vector<std::string>& names);
// Puts the cursor on the row and leaves the selection as it is.
void move_cursor_alone(GtkTreeView* tree_view, GtkTreePath* path);
// The row that a rename is meant for: of several selected ones that with the cursor, else the selected one.
// Empty when there is none; never "..".
std::string name_to_rename(GtkWidget* tree_view);
// Selects the row at position, or the last one before it when the list is shorter; never the ".." row.
void select_row_near(GtkWidget* tree_view, int position);

}  // namespace relay_hub
