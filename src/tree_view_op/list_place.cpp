#include "tree_view_op/list_place.h"

#include <algorithm>
#include <unordered_set>

#include "tree_view_op/file_list_view.h"
#include "tree_view_op/toolkit_owners.h"

namespace relay_hub {
namespace {

std::string name_at(GtkTreeView* view, GtkTreePath* path) {
    GtkTreeModel* model = gtk_tree_view_get_model(view);
    GtkTreeIter iter;
    if (path == nullptr || gtk_tree_model_get_iter(model, &iter, path) == FALSE)
        return {};
    return row_name(model, &iter);
}

}  // namespace

ListPlace::ListPlace(GtkWidget* tree_view)
    : view_(GTK_TREE_VIEW(tree_view)), selected_(selected_names(tree_view)) {
    GtkTreePath* path = nullptr;
    gtk_tree_view_get_cursor(view_, &path, nullptr);
    const TreePathPtr cursor(path);
    cursor_ = name_at(view_, path);
    // Among the selected names the parent folder's row is left out.
    cursor_selected_ = path != nullptr &&
                       gtk_tree_selection_path_is_selected(gtk_tree_view_get_selection(view_), path) != FALSE;
    GtkTreePath* top = nullptr;
    GtkTreePath* bottom = nullptr;
    if (gtk_tree_view_get_visible_range(view_, &top, &bottom) == FALSE)
        return;
    const TreePathPtr owned_top(top);
    const TreePathPtr owned_bottom(bottom);
    // A list at its very top stays there, also when rows are added before the first one.
    GdkRectangle shown;
    gtk_tree_view_get_visible_rect(view_, &shown);
    if (shown.y <= 0)
        return;
    GdkRectangle row;
    gtk_tree_view_get_background_area(view_, top, gtk_tree_view_get_column(view_, 0), &row);
    if (row.y < 0) {
        gtk_tree_path_next(top);
        row.y += row.height;
    }
    top_ = name_at(view_, top);
    // A little more, since the toolkit cuts off what is less than a pixel.
    constexpr double kMore = 1.000001;
    share_above_ = static_cast<gfloat>(kMore * row.y / std::max(shown.height - row.height, 1));
}

void ListPlace::restore() const {
    GtkTreeModel* model = gtk_tree_view_get_model(view_);
    GtkTreeSelection* selection = gtk_tree_view_get_selection(view_);
    const std::unordered_set<std::string> wanted(selected_.begin(), selected_.end());
    std::vector<TreePathPtr> found;
    TreePathPtr cursor;
    TreePathPtr top;
    for_each_row(model, [&](GtkTreeIter* iter) {
        const std::string name = row_name(model, iter);
        if (wanted.contains(name))
            found.emplace_back(gtk_tree_model_get_path(model, iter));
        if (!cursor_.empty() && name == cursor_)
            cursor.reset(gtk_tree_model_get_path(model, iter));
        if (!top_.empty() && name == top_)
            top.reset(gtk_tree_model_get_path(model, iter));
    });
    if (cursor != nullptr)
        gtk_tree_view_set_cursor(view_, cursor.get(), nullptr, FALSE);
    gtk_tree_selection_unselect_all(selection);
    for (const TreePathPtr& path : found)
        gtk_tree_selection_select_path(selection, path.get());
    if (cursor != nullptr && cursor_selected_)
        gtk_tree_selection_select_path(selection, cursor.get());
    if (top != nullptr)
        gtk_tree_view_scroll_to_cell(view_, top.get(), nullptr, TRUE, std::clamp(share_above_, 0.0F, 1.0F),
                                     0);
}

}  // namespace relay_hub
