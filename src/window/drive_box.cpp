#include "window/drive_box.h"

#include "base/glib_owners.h"
#include "base/shown_text.h"

namespace {

enum DriveColumn { kDriveIcon = 0, kDriveName, kDrivePath };

// Icon themes of today no longer have the names that the boxes use; the toolkit's own pictures stand in for
// them.
void provide_icon(GtkWidget* combo, const char* icon) {
    if (gtk_icon_theme_has_icon(gtk_icon_theme_get_default(), icon) != FALSE)
        return;
    const relay_hub::GObjectPtr<GdkPixbuf> picture(
        gtk_widget_render_icon(combo, icon, GTK_ICON_SIZE_BUTTON, nullptr));
    if (picture != nullptr)
        gtk_icon_theme_add_builtin_icon(icon, gdk_pixbuf_get_width(picture.get()), picture.get());
}

// The toolkit's accessibility module names an entry by its first text, which is the icon's name here.
void name_last_entry(GtkWidget* combo, int index, const std::string& name) {
    AtkObject* const entries = gtk_combo_box_get_popup_accessible(GTK_COMBO_BOX(combo));
    AtkObject* const raw = entries != nullptr ? atk_object_ref_accessible_child(entries, index) : nullptr;
    const relay_hub::GObjectPtr<AtkObject> entry(raw);
    if (entry != nullptr)
        atk_object_set_name(entry.get(), name.c_str());
}

}  // namespace

int append_combobox_item(GtkWidget* combo, const char* icon, const char* name, const char* path) {
    GtkTreeModel* model = gtk_combo_box_get_model(GTK_COMBO_BOX(combo));
    const std::string shown = relay_hub::shown_line(name != nullptr ? name : "", relay_hub::kCellCharacters);
    if (icon != nullptr)
        provide_icon(combo, icon);
    gtk_list_store_insert_with_values(GTK_LIST_STORE(model), nullptr, -1, kDriveIcon, icon, kDriveName,
                                      shown.c_str(), kDrivePath, path, -1);
    name_last_entry(combo, gtk_tree_model_iter_n_children(model, nullptr) - 1, shown);
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
