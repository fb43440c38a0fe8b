#include "ui/base/drive_box.h"

#include "util/glib_owners.h"
#include "util/shown_text.h"

namespace {

enum DriveColumn { kDriveIcon = 0, kDriveName, kDrivePath };

}  // namespace

int append_combobox_item(GtkWidget* combo, const char* icon, const char* name, const char* path) {
    GtkTreeModel* model = gtk_combo_box_get_model(GTK_COMBO_BOX(combo));
    const std::string shown = relay_hub::shown_text(name != nullptr ? name : "");
    gtk_list_store_insert_with_values(GTK_LIST_STORE(model), nullptr, -1, kDriveIcon, icon, kDriveName,
                                      shown.c_str(), kDrivePath, path, -1);
    return 0;
}

std::string get_combobox_item(GtkWidget* combo) {
    GtkTreeIter iter;
    if (!gtk_combo_box_get_active_iter(GTK_COMBO_BOX(combo), &iter))
        return {};
    char* path = nullptr;
    gtk_tree_model_get(gtk_combo_box_get_model(GTK_COMBO_BOX(combo)), &iter, kDrivePath, &path, -1);
    const relay_hub::GText owner(path);
    return path != nullptr ? path : "";
}
