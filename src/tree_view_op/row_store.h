#pragma once
// Rows of the list store, as the other sources of this room put and read them. Window's thread.
#include <gtk/gtk.h>

#include <array>

#include "tree_view_op/file_list_view.h"

namespace relay_hub {

// Texts in column order, borrowed; null leaves a column empty.
using RowTexts = std::array<const char*, kColumnCount>;

// The view's store, borrowed; null when it has none.
GtkListStore* list_store_of(GtkWidget* tree_view);

// Puts the store on the view, whose type-ahead search then looks through the names: taking a store off, the
// toolkit forgets which column it searched.
void show_store(GtkTreeView* tree_view, GtkListStore* store);

// Puts a row at position (-1: at the end) and keeps the true bytes of a name that cannot be shown as it is.
void insert_row(GtkListStore* store, int position, const char* const* texts);
// Gives a row its name the same way.
void set_row_name(GtkListStore* store, GtkTreeIter* iter, const char* name);

// The row that leads to the parent folder.
const RowTexts& parent_row();

}  // namespace relay_hub
