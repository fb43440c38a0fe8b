#include "tree_view_op/icon_sort.h"

#include <memory>

#include "base/glib_owners.h"
#include "tree_view_op/list_columns.h"
#include "tree_view_op/toolkit_owners.h"

namespace relay_hub {

// How the store compares icon ids. While rows are put straight to their places every pair counts as equal:
// the store leaves a row between equals where it is.
struct IconOrder {
    bool rows_in_order = false;
};

namespace {

constexpr char kIconOrder[] = "relay-hub-icon-order";

// Gives what the toolkit's own comparison gives, but most pairs are equal and need no collation.
gint compare_icons(GtkTreeModel* model, GtkTreeIter* a, GtkTreeIter* b, gpointer data) {
    if (static_cast<const IconOrder*>(data)->rows_in_order)
        return 0;
    char* icon_a = nullptr;
    char* icon_b = nullptr;
    gtk_tree_model_get(model, a, kColumnIcon, &icon_a, -1);
    gtk_tree_model_get(model, b, kColumnIcon, &icon_b, -1);
    const GText owner_a(icon_a);
    const GText owner_b(icon_b);
    return g_strcmp0(icon_a, icon_b) == 0 ? 0 : collate_icons(icon_a, icon_b);
}

// Installing the comparison sorts a store that is sorted by icon.
void sort_by_icon_anew(GtkListStore* store, IconOrder* order) {
    gtk_tree_sortable_set_sort_func(GTK_TREE_SORTABLE(store), kColumnIcon, compare_icons, order, nullptr);
}

IconOrder* icon_order_of(GtkListStore* store) {
    auto* order = static_cast<IconOrder*>(g_object_get_data(G_OBJECT(store), kIconOrder));
    if (order != nullptr)
        return order;
    order = attach(store, kIconOrder, std::make_unique<IconOrder>());
    sort_by_icon_anew(store, order);
    return order;
}

}  // namespace

SortState sort_of(GtkListStore* store) {
    SortState sort;
    gtk_tree_sortable_get_sort_column_id(GTK_TREE_SORTABLE(store), &sort.column, &sort.order);
    return sort;
}

int collate_icons(const char* a, const char* b) {
    return g_utf8_collate(a != nullptr ? a : "", b != nullptr ? b : "");
}

RowsInPlace::RowsInPlace(GtkListStore* store) : store_(store), sort_(sort_of(store)) {
    if (sort_.column != kColumnIcon)
        return;
    order_ = icon_order_of(store);
    order_->rows_in_order = true;
}

RowsInPlace::~RowsInPlace() {
    if (order_ == nullptr)
        return;
    order_->rows_in_order = false;
    if (sort_of(store_) != sort_)
        sort_by_icon_anew(store_, order_);
}

}  // namespace relay_hub
