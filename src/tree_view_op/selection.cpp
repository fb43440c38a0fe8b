#include "tree_view_op/selection.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <unordered_set>

#include "tree_view_op/row_store.h"
#include "tree_view_op/toolkit_owners.h"

using relay_hub::row_name;

namespace {

struct TreePathListFree {
    void operator()(GList* paths) const {
        g_list_free_full(paths, [](gpointer path) { gtk_tree_path_free(static_cast<GtkTreePath*>(path)); });
    }
};

void select_only(GtkTreeView* view, GtkTreePath* path) {
    GtkTreeSelection* selection = gtk_tree_view_get_selection(view);
    gtk_tree_selection_unselect_all(selection);
    gtk_tree_view_set_cursor(view, path, nullptr, FALSE);
    gtk_tree_selection_select_path(selection, path);
    gtk_tree_view_scroll_to_cell(view, path, nullptr, FALSE, 0, 0);
}

}  // namespace

GList* get_selected_to_treepath_list(GtkWidget* tree_view) {
    if (tree_view == nullptr)
        return nullptr;
    return gtk_tree_selection_get_selected_rows(gtk_tree_view_get_selection(GTK_TREE_VIEW(tree_view)),
                                                nullptr);
}

std::vector<std::string> get_selected_to_glist(GtkWidget* tree_view) {
    const std::vector<std::string> names = relay_hub::selected_names(tree_view);
    return {names.rbegin(), names.rend()};
}

gboolean treeview_selected_callback(GtkTreeSelection*, GtkTreeModel* model, GtkTreePath* path,
                                    gboolean currently_selected, gpointer) {
    GtkTreeIter iter;
    if (gtk_tree_model_get_iter(model, &iter, path))
        std::printf("%s is going to be %s.\n", row_name(model, &iter).c_str(),
                    currently_selected ? "unselected" : "selected");
    return TRUE;
}

namespace relay_hub {

void for_each_selected(GtkTreeView* tree_view, const RowVisit& visit) {
    const auto pass_on = [](GtkTreeModel* model, GtkTreePath*, GtkTreeIter* iter, gpointer data) {
        (*static_cast<const RowVisit*>(data))(model, iter);
    };
    gtk_tree_selection_selected_foreach(gtk_tree_view_get_selection(tree_view), pass_on,
                                        const_cast<RowVisit*>(&visit));
}

std::vector<std::string> selected_names(GtkWidget* tree_view) {
    std::vector<std::string> names;
    if (tree_view != nullptr)
        for_each_selected(GTK_TREE_VIEW(tree_view), [&](GtkTreeModel* model, GtkTreeIter* iter) {
            names.push_back(row_name(model, iter));
        });
    std::erase(names, "..");
    return names;
}

bool select_row_by_name(GtkWidget* tree_view, const std::string& name) {
    GtkTreeModel* model = gtk_tree_view_get_model(GTK_TREE_VIEW(tree_view));
    std::optional<GtkTreeIter> row = find_row_named(model, name);
    if (!row)
        return false;
    const TreePathPtr path(gtk_tree_model_get_path(model, &*row));
    select_only(GTK_TREE_VIEW(tree_view), path.get());
    return true;
}

bool select_rows_by_name(GtkWidget* tree_view, const std::vector<std::string>& names,
                         const std::string& cursor) {
    GtkTreeView* view = GTK_TREE_VIEW(tree_view);
    GtkTreeModel* model = gtk_tree_view_get_model(view);
    const std::unordered_set<std::string> wanted(names.begin(), names.end());
    std::vector<TreePathPtr> found;
    GtkTreePath* cursor_path = nullptr;
    for_each_row(model, [&](GtkTreeIter* iter) {
        const std::string name = row_name(model, iter);
        if (!wanted.contains(name))
            return;
        found.emplace_back(gtk_tree_model_get_path(model, iter));
        if (name == cursor || cursor_path == nullptr)
            cursor_path = found.back().get();
    });
    if (found.empty())
        return false;
    select_only(view, cursor_path);
    for (const TreePathPtr& path : found)
        gtk_tree_selection_select_path(gtk_tree_view_get_selection(view), path.get());
    return true;
}

void remove_shown_names(GtkWidget* tree_view, std::vector<std::string>& names) {
    GtkTreeModel* model = gtk_tree_view_get_model(GTK_TREE_VIEW(tree_view));
    std::unordered_set<std::string> shown;
    for_each_row(model, [&](GtkTreeIter* iter) { shown.insert(row_name(model, iter)); });
    std::erase_if(names, [&](const std::string& name) { return shown.contains(name); });
}

void move_cursor_alone(GtkTreeView* tree_view, GtkTreePath* path) {
    GtkTreeSelection* selection = gtk_tree_view_get_selection(tree_view);
    const std::unique_ptr<GList, TreePathListFree> selected(
        gtk_tree_selection_get_selected_rows(selection, nullptr));
    const bool stays = gtk_tree_selection_path_is_selected(selection, path) != FALSE;
    gtk_tree_view_set_cursor(tree_view, path, nullptr, FALSE);
    if (!stays)
        gtk_tree_selection_unselect_path(selection, path);
    for (const GList* node = selected.get(); node != nullptr; node = node->next)
        gtk_tree_selection_select_path(selection, static_cast<GtkTreePath*>(node->data));
}

std::string name_to_rename(GtkWidget* tree_view) {
    const std::vector<std::string> names = selected_names(tree_view);
    GtkTreePath* at = nullptr;
    gtk_tree_view_get_cursor(GTK_TREE_VIEW(tree_view), &at, nullptr);
    const TreePathPtr path(at);
    GtkTreeModel* model = gtk_tree_view_get_model(GTK_TREE_VIEW(tree_view));
    GtkTreeIter iter;
    if (names.size() > 1 && path != nullptr && gtk_tree_model_get_iter(model, &iter, path.get()) != FALSE) {
        std::string name = row_name(model, &iter);
        if (name != "..")
            return name;
    }
    return names.empty() ? "" : names.front();
}

void select_row_near(GtkWidget* tree_view, int position) {
    GtkTreeModel* model = gtk_tree_view_get_model(GTK_TREE_VIEW(tree_view));
    if (model == nullptr)
        return;
    const int rows = gtk_tree_model_iter_n_children(model, nullptr);
    GtkTreeIter iter;
    int row = std::clamp(position, 0, std::max(rows - 1, 0));
    if (!gtk_tree_model_iter_nth_child(model, &iter, nullptr, row))
        return;
    if (row_text(model, &iter, kColumnKind) == kKindParent) {
        if (!gtk_tree_model_iter_next(model, &iter))
            return;
        ++row;
    }
    const TreePathPtr path(gtk_tree_path_new_from_indices(row, -1));
    select_only(GTK_TREE_VIEW(tree_view), path.get());
}

}  // namespace relay_hub
