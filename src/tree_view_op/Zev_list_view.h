#pragma once
// The list's view: its columns, its order, single rows. Window's thread.
#include <gtk/gtk.h>

#include <string>
#include <vector>

#include "tree_view_op/list_columns.h"

void set_list_treeview(GtkWidget* tree_view);
void set_tree_treeview(GtkWidget* tree_view);
void cell_data_func(GtkTreeViewColumn* column, GtkCellRenderer* renderer, GtkTreeModel* model,
                    GtkTreeIter* iter, gpointer data);
int insert_root_row(GtkWidget* tree_view);
void fill_list_colmum(const char* name, const char* folder, void* tree_view);
void append_data(GtkWidget* tree_view, const int* column_ids, const char* const* texts);
void clean_tree_view(GtkWidget* tree_view);
void clean_combo_box(GtkWidget* combo);
// Full paths (uri_flag 1: file URIs), each ended by CR LF. Empty when names is empty or a URI fails.
std::string set_glist_to_string(const std::vector<std::string>& names, const std::string& folder,
                                int uri_flag);
void traverse_list_store(GtkListStore* store);
gint sort_iter_compare_func(GtkTreeModel* model, GtkTreeIter* a, GtkTreeIter* b, gpointer sort_id);
