#pragma once
// Rows of the list store: putting and reading them. Window's thread.
#include <gtk/gtk.h>

#include <array>
#include <string>

#include "tree_view_op/list_columns.h"

namespace relay_hub {

// Texts in column order, borrowed; null leaves a column empty.
using RowTexts = std::array<const char*, kColumnCount>;

// The view's store, borrowed; null when it has none.
GtkListStore* list_store_of(GtkWidget* tree_view);

// Puts the store on the view, whose type-ahead search then looks through the names: taking a store off, the
// toolkit forgets which column it searched.
void show_store(GtkTreeView* tree_view, GtkListStore* store);

// The row's name as the file system or the engine gave it.
std::string row_name(GtkTreeModel* model, GtkTreeIter* iter);
std::string row_text(GtkTreeModel* model, GtkTreeIter* iter, int column);

// Puts a row at position (-1: at the end) and keeps the true bytes of a name that cannot be shown as it is.
void insert_row(GtkListStore* store, int position, const char* const* texts);
// Gives a row its name the same way.
void set_row_name(GtkListStore* store, GtkTreeIter* iter, const char* name);

// The row that leads to the parent folder.
const RowTexts& parent_row();

}  // namespace relay_hub
