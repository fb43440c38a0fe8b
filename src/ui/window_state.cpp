#include "ui/window_state.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "base/diagnostics.h"
#include "base/glib_owners.h"
#include "base/state_file.h"
#include "tree_view_op/file_list_view.h"
#include "tree_view_op/toolkit_owners.h"

namespace relay_hub {
namespace {

constexpr char kWindow[] = "window";
constexpr char kWidths[] = "relay-hub-widths";
constexpr char kOrderRemembered[] = "relay-hub-order-remembered";
constexpr int kLargest = 16384;
constexpr int kNarrowestColumn = 20;
constexpr int kNarrowestList = 100;
// Size, type and time as the view counts its columns. That of the names takes what the others leave.
constexpr std::array<int, 3> kColumns = {1, 2, 3};

std::optional<int> number_in(GKeyFile* file, const char* group, const char* key, int least, int most) {
    GError* error = nullptr;
    const int value = g_key_file_get_integer(file, group, key, &error);
    const GErrorPtr owner(error);
    if (error != nullptr || value < least || value > most)
        return {};
    return value;
}

const char* group_of(const __single* side) {
    return side == get_UI_sets()->left_side ? "local list" : "remote list";
}

// Widths that suit the texts of one language cut those of another.
std::string columns_key() {
    return std::string("columns-") + g_get_language_names()[0];
}

std::vector<int> widths_in(GKeyFile* file, const char* group) {
    gsize count = 0;
    int* const list = g_key_file_get_integer_list(file, group, columns_key().c_str(), &count, nullptr);
    std::vector<int> widths(list, list + (list != nullptr ? count : 0));
    g_free(list);
    return widths;
}

GtkTreeViewColumn* column_of(const __single* side, std::size_t index) {
    return gtk_tree_view_get_column(GTK_TREE_VIEW(side->tree_view), kColumns.at(index));
}

// Once the list, being realized, has given its columns the least widths for its texts.
void apply_widths(GtkWidget*, gpointer data) {
    const auto* side = static_cast<const __single*>(data);
    const auto* widths =
        static_cast<const std::vector<int>*>(g_object_get_data(G_OBJECT(side->tree_view), kWidths));
    for (std::size_t index = 0; index < kColumns.size(); ++index)
        gtk_tree_view_column_set_fixed_width(column_of(side, index), widths->at(index));
}

void restore_widths(GKeyFile* file, __single* side) {
    auto widths = std::make_unique<std::vector<int>>(widths_in(file, group_of(side)));
    if (widths->size() != kColumns.size())
        return;
    for (const int width : *widths)
        if (width < kNarrowestColumn || width > kLargest)
            return;
    attach(side->tree_view, kWidths, std::move(widths));
    g_signal_connect_after(side->tree_view, "realize", G_CALLBACK(apply_widths), side);
}

GtkTreeSortable* sortable_of(const __single* side) {
    return GTK_TREE_SORTABLE(gtk_tree_view_get_model(GTK_TREE_VIEW(side->tree_view)));
}

void restore_order(GKeyFile* file, const __single* side) {
    const std::optional<int> order =
        number_in(file, group_of(side), "order", GTK_SORT_ASCENDING, GTK_SORT_DESCENDING);
    if (!order)
        return;
    gtk_tree_sortable_set_sort_column_id(sortable_of(side), kColumnIcon, static_cast<GtkSortType>(*order));
    g_object_set_data(G_OBJECT(side->tree_view), kOrderRemembered, side->tree_view);
}

void restore(const UI* ui, GKeyFile* file) {
    const auto width = number_in(file, kWindow, "width", 1, kLargest);
    const auto height = number_in(file, kWindow, "height", 1, kLargest);
    if (width && height)
        gtk_window_set_default_size(GTK_WINDOW(ui->main_window), *width, *height);
    // On a smaller screen than before both lists still show.
    const int room = std::min(width.value_or(kLargest), gdk_screen_width()) - kNarrowestList;
    if (const auto divider = number_in(file, kWindow, "divider", 1, kLargest))
        gtk_paned_set_position(GTK_PANED(ui->paned), std::min(*divider, std::max(room, 1)));
    if (number_in(file, kWindow, "maximized", 1, 1))
        gtk_window_maximize(GTK_WINDOW(ui->main_window));
    for (__single* side : {ui->left_side, ui->right_side}) {
        restore_widths(file, side);
        restore_order(file, side);
    }
}

bool is_maximized(GtkWidget* window) {
    GdkWindow* drawn = gtk_widget_get_window(window);
    return drawn != nullptr && (gdk_window_get_state(drawn) & GDK_WINDOW_STATE_MAXIMIZED) != 0;
}

void keep_size(const UI* ui, GKeyFile* file) {
    const bool maximized = is_maximized(ui->main_window);
    g_key_file_set_integer(file, kWindow, "maximized", maximized ? 1 : 0);
    if (maximized)
        return;  // the size and the divider before stay for the time after
    GtkAllocation size;
    gtk_widget_get_allocation(ui->main_window, &size);
    g_key_file_set_integer(file, kWindow, "width", size.width);
    g_key_file_set_integer(file, kWindow, "height", size.height);
    g_key_file_set_integer(file, kWindow, "divider", gtk_paned_get_position(GTK_PANED(ui->paned)));
}

void keep_list(const __single* side, GKeyFile* file) {
    std::array<int, kColumns.size()> widths{};
    for (std::size_t index = 0; index < widths.size(); ++index)
        widths.at(index) = gtk_tree_view_column_get_width(column_of(side, index));
    // A list that was never shown has none.
    if (*std::min_element(widths.begin(), widths.end()) >= kNarrowestColumn)
        g_key_file_set_integer_list(file, group_of(side), columns_key().c_str(), widths.data(),
                                    widths.size());
    int column = 0;
    GtkSortType order = GTK_SORT_ASCENDING;
    if (gtk_tree_sortable_get_sort_column_id(sortable_of(side), &column, &order) != FALSE)
        g_key_file_set_integer(file, group_of(side), "order", order);
}

// While its widgets are still whole.
void keep_window(GtkWidget*, gpointer path) {
    const UI* ui = get_UI_sets();
    const auto* place = static_cast<const char*>(path);
    const KeyFile file = read_state_file(place);
    keep_size(ui, file.get());
    for (const __single* side : {ui->left_side, ui->right_side})
        keep_list(side, file.get());
    if (const std::string why = save_state_file(file.get(), place); !why.empty())
        report(RELAY_HUB_HERE, "the window's size cannot be kept:", why);
}

}  // namespace

std::string window_state_path() {
    return state_file_path("window");
}

void remember_window(const UI* ui, const std::string& path) {
    restore(ui, read_state_file(path).get());
    g_signal_connect_data(
        ui->main_window, "unmap", G_CALLBACK(keep_window), g_strdup(path.c_str()),
        [](gpointer data, GClosure*) { g_free(data); }, static_cast<GConnectFlags>(0));
}

bool order_is_remembered(const __single* side) {
    return g_object_get_data(G_OBJECT(side->tree_view), kOrderRemembered) != nullptr;
}

}  // namespace relay_hub
