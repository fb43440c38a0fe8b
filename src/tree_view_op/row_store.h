#pragma once
// Rows of the list store: putting and reading them. Window's thread.
#include <gtk/gtk.h>

#include <array>
#include <optional>
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

// The first row that matches(row) holds for; nothing where there is none, or no model.
template <typename Matches>
std::optional<GtkTreeIter> find_row(GtkTreeModel* model, Matches matches) {
    GtkTreeIter iter;
    for (gboolean more = model != nullptr && gtk_tree_model_get_iter_first(model, &iter); more;
         more = gtk_tree_model_iter_next(model, &iter))
        if (matches(&iter))
            return iter;
    return std::nullopt;
}
std::optional<GtkTreeIter> find_row_named(GtkTreeModel* model, const std::string& name);
// The row that leads to the parent folder.
std::optional<GtkTreeIter> find_parent_row(GtkTreeModel* model);
template <typename Visit>
void for_each_row(GtkTreeModel* model, Visit visit) {
    (void)find_row(model, [&](GtkTreeIter* iter) {
        visit(iter);
        return false;
    });
}

// Puts a row at position (-1: at the end) and keeps the true bytes of a name that cannot be shown as it is.
void insert_row(GtkListStore* store, int position, const char* const* texts);
// Gives a row its name the same way.
void set_row_name(GtkListStore* store, GtkTreeIter* iter, const char* name);

// The texts of the row that leads to the parent folder.
const RowTexts& parent_row();

}  // namespace relay_hub
