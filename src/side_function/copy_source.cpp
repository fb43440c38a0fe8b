#include "side_function/copy_source.h"

#include <cstdlib>
#include <utility>

#include "base/path_text.h"
#include "base/translated_text.h"
#include "tree_view_op/file_list_view.h"

relay_hub::CopySource relay_hub::copy_source;

namespace {

void remember_row(GtkTreeModel* model, GtkTreePath*, GtkTreeIter* iter, gpointer folder) {
    const std::string name = relay_hub::row_name(model, iter);
    if (name.empty() || name == "..")
        return;
    const auto& base = *static_cast<const std::string*>(folder);
    relay_hub::copy_source.remembered.push_back(
        {name, relay_hub::join_remote_path(base, name), relay_hub::row_attributes(model, iter)});
}

}  // namespace

void set_copy_to_remote_file_list(std::vector<std::string> paths) {
    g_copy_to_remote_file_list = std::move(paths);
}

const std::vector<std::string>& get_copy_to_remote_file_list() {
    return g_copy_to_remote_file_list;
}

int release_copy_to_remote_file_list() {
    g_copy_to_remote_file_list.clear();
    relay_hub::copy_source.copied.clear();
    relay_hub::copy_source.cut = false;
    return 0;
}

std::string get_old_copy_path() {
    return g_old_copy_path;
}

void set_old_copy_path(const std::string& folder) {
    g_old_copy_path = folder;
}

void free_old_copy_path() {
    g_old_copy_path.clear();
}

namespace relay_hub {

ItemAttributes row_attributes(GtkTreeModel* model, GtkTreeIter* iter) {
    const auto number = [&](int column) {
        return std::strtoll(row_text(model, iter, column).c_str(), nullptr, 10);
    };
    const bool is_folder = row_text(model, iter, kColumnType) == translated("IDS_FH_FOLDER");
    return {is_folder ? kFolderItem : kFileItem, number(kColumnSizeValue), number(kColumnCreatedValue),
            number(kColumnAccessedValue), number(kColumnModifiedValue)};
}

void remember_remote_selection(GtkWidget* tree_view, const std::string& folder) {
    copy_source.remembered.clear();
    std::string base = folder;
    gtk_tree_selection_selected_foreach(gtk_tree_view_get_selection(GTK_TREE_VIEW(tree_view)), remember_row,
                                        &base);
}

const std::vector<RemoteItem>& remembered_remote_selection() {
    return copy_source.remembered;
}

void keep_remote_copy(bool cut) {
    copy_source.copied = copy_source.remembered;
    copy_source.cut = cut;
}

Offer remote_copy() {
    return {g_copy_to_remote_file_list, copy_source.cut};
}

const std::vector<RemoteItem>& kept_remote_copy() {
    return copy_source.copied;
}

void clear_copy_source() {
    g_copy_source = kNothingCopied;
    g_p_tree_view = nullptr;
}

}  // namespace relay_hub
