#include "window/ui_sets.h"

#include <array>
#include <utility>

#include "base/shown_text.h"

constinit relay_hub::Widgets relay_hub::widgets;

namespace {

constexpr UI& ui = relay_hub::widgets.ui;

constexpr char kFolderBytes[] = "relay-hub-folder-bytes";

constexpr std::array<GtkWidget * __single::*, 11> kSideWidgets = {
    &__single::frame,        &__single::go_button,        &__single::spare_button, &__single::path_entry,
    &__single::status_label, &__single::disconnect_label, &__single::tree_view,    &__single::scroller,
    &__single::drive_combo,  &__single::content_box,      &__single::offline_box};

template <typename Visit>
void for_each_widget(Visit visit) {
    visit(ui.main_window);
    visit(ui.paned);
    for (__single& side : sub)
        for (const auto member : kSideWidgets)
            visit(side.*member);
}

}  // namespace

UI* get_UI_sets() {
    return &ui;
}

void swap_side() {
    std::swap(ui.left_side, ui.right_side);
}

namespace relay_hub {

void hold_widgets() {
    for_each_widget([](GtkWidget* widget) {
        if (widget != nullptr)
            g_object_ref_sink(widget);
    });
}

void release_widgets() {
    for_each_widget([](GtkWidget*& widget) {
        if (widget != nullptr)
            g_object_unref(std::exchange(widget, nullptr));
    });
    ui.left_side = &sub[0];
    ui.right_side = &sub[1];
}

const char* current_folder(const __single* side) {
    const char* shown = gtk_label_get_text(GTK_LABEL(side->status_label));
    const auto* bytes =
        static_cast<const char*>(g_object_get_data(G_OBJECT(side->status_label), kFolderBytes));
    // The bytes count only as long as nobody gave the label another text.
    return bytes != nullptr && shown_text(bytes) == shown ? bytes : shown;
}

void set_current_folder(const __single* side, const char* folder) {
    g_object_set_data_full(G_OBJECT(side->status_label), kFolderBytes, g_strdup(folder), g_free);
    gtk_label_set_text(GTK_LABEL(side->status_label), shown_text(folder).c_str());
}

void set_path_entry(const __single* side, const char* path) {
    gtk_entry_set_text(GTK_ENTRY(side->path_entry), shown_text(path).c_str());
    gtk_editable_set_position(GTK_EDITABLE(side->path_entry), -1);
}

}  // namespace relay_hub
