#include "side_function/copy_source.h"

#include <cstdlib>
#include <utility>

#include "base/path_text.h"
#include "base/translated_text.h"
#include "tree_view_op/file_list_view.h"

relay_hub::CopySource relay_hub::copy_source;

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
    for_each_selected(GTK_TREE_VIEW(tree_view), [&](GtkTreeModel* model, GtkTreeIter* iter) {
        const std::string name = row_name(model, iter);
        if (!name.empty() && name != "..")
            copy_source.remembered.push_back(
                {name, join_remote_path(folder, name), row_attributes(model, iter)});
    });
}

void keep_remote_copy(bool cut) {
    copy_source.copied = copy_source.remembered;
    copy_source.cut = cut;
}

Offer remote_copy() {
    return {g_copy_to_remote_file_list, copy_source.cut};
}

bool is_cut() {
    return g_copy_source == kCopiedRemotely ? copy_source.cut : clipboard_action == kCutOffered;
}

void clear_copy_source() {
    g_copy_source = kNothingCopied;
    g_p_tree_view = nullptr;
}

}  // namespace relay_hub
