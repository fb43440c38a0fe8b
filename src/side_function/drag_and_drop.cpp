#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "side_function/copy_source.h"
#include "side_function/left_side.h"
#include "side_function/local_job.h"
#include "side_function/panes.h"
#include "side_function/right_side.h"
#include "side_function/transfer.h"
#include "tree_view_op/file_list_view.h"
#include "util/Zev_file_op.h"
#include "util/folder_listing.h"
#include "window/closing.h"

namespace {

using relay_hub::WindowWork;

constexpr guint kTreeRows = 0;
constexpr guint kUriList = 1;
constexpr int kBytes = 8;

struct NamedAction {
    GdkDragAction action;
    const char* name;
};
constexpr NamedAction kDragActions[] = {
    {GDK_ACTION_DEFAULT, "GDK_ACTION_DEFAULT"}, {GDK_ACTION_COPY, "GDK_ACTION_COPY"},
    {GDK_ACTION_MOVE, "GDK_ACTION_MOVE"},       {GDK_ACTION_LINK, "GDK_ACTION_LINK"},
    {GDK_ACTION_PRIVATE, "GDK_ACTION_PRIVATE"}, {GDK_ACTION_ASK, "GDK_ACTION_ASK"}};

// Only copies act; every action is told.
bool copy_is_suggested(GdkDragContext* context) {
    const GdkDragAction suggested = gdk_drag_context_get_suggested_action(context);
    for (const NamedAction& known : kDragActions) {
        if (known.action == suggested)
            std::puts(known.name);
    }
    return suggested == GDK_ACTION_COPY;
}

bool holds_bytes(GtkSelectionData* selection) {
    return selection != nullptr && gtk_selection_data_get_length(selection) >= 0 &&
           gtk_selection_data_get_format(selection) == kBytes;
}

std::string text_of(GtkSelectionData* selection) {
    const auto* bytes = reinterpret_cast<const char*>(gtk_selection_data_get_data(selection));
    if (bytes == nullptr)
        return {};
    return {bytes, static_cast<std::size_t>(gtk_selection_data_get_length(selection))};
}

void set_text(GtkSelectionData* selection, const std::string& text) {
    gtk_selection_data_set(selection, gtk_selection_data_get_target(selection), kBytes,
                           reinterpret_cast<const guchar*>(text.data()), static_cast<int>(text.size()));
}

void print_rows(const std::string& text) {
    std::printf("GTK_TREE_MODEL_ROW\nstring: %s\n", text.c_str());
}

bool local_folder_takes_files(const std::string& folder) {
    __file_permission permission;
    return Gfile_check_file_type_permission(folder, &permission) == 0 && permission.writable != 0;
}

int receive_local_files(const std::string& uris) {
    std::puts("TEXT_URI_LIST");
    const std::string folder = relay_hub::folder_of(relay_hub::local_side());
    if (!local_folder_takes_files(folder))
        return -1;
    std::vector<std::string> paths = Gfile_split_string_to_list(uris, "\n", 1);
    if (paths.empty())
        return -1;
    for (const std::string& path : paths)
        std::puts(path.c_str());
    Gfile_count = paths.size();
    return relay_hub::copy_into_local_folder(std::move(paths), folder);
}

// The list loses its selection while a drop is under way; then what was dragged counts.
std::vector<std::string> dragged_remote_names(const std::string& folder) {
    GtkWidget* const list = relay_hub::remote_side()->tree_view;
    std::vector<std::string> names = relay_hub::selected_names(list);
    if (!names.empty()) {
        relay_hub::remember_remote_selection(list, folder);
        return names;
    }
    for (const relay_hub::RemoteItem& item : relay_hub::remembered_remote_selection())
        names.push_back(relay_hub::remote_base_name(item.path));
    std::reverse(names.begin(), names.end());
    return names;
}

}  // namespace

int left_drag_data_get(GtkWidget* widget, GdkDragContext*, GtkSelectionData* selection, guint info, guint,
                       gpointer) {
    std::puts("left_drag_data_get");
    if (relay_hub::window_is_closing())
        return -1;
    if (info == kTreeRows)
        set_text(selection, "ABC");
    else if (info == kUriList)
        set_text(selection, set_glist_to_string(relay_hub::selected_names(widget),
                                                relay_hub::folder_of(relay_hub::local_side()), 1));
    return 0;
}

int left_drag_data_received(GtkWidget* widget, GdkDragContext* context, gint, gint,
                            GtkSelectionData* selection, guint info, guint, gpointer) {
    std::puts("left_drag_data_received");
    if (relay_hub::window_is_closing() || !holds_bytes(selection) || !copy_is_suggested(context))
        return -1;
    const WindowWork work;
    if (info == kTreeRows) {
        print_rows(text_of(selection));
        return remote_receive_data(widget, selection);
    }
    return info == kUriList ? receive_local_files(text_of(selection)) : -1;
}

int right_drag_data_get(GtkWidget*, GdkDragContext*, GtkSelectionData* selection, guint info, guint,
                        gpointer) {
    std::puts("right_drag_data_get");
    if (relay_hub::window_is_closing())
        return -1;
    if (info == kTreeRows) {
        std::puts("GTK_TREE_MODEL_ROW");
    } else if (info != kUriList) {
        std::printf("%u\n", info);
        return -1;
    }
    std::puts("TEXT_URI_LIST");
    const std::string folder = relay_hub::folder_of(relay_hub::remote_side());
    set_text(selection, set_glist_to_string(dragged_remote_names(folder), folder, 0));
    return 0;
}

int right_drag_data_received(GtkWidget*, GdkDragContext* context, gint, gint, GtkSelectionData* selection,
                             guint info, guint, gpointer) {
    std::puts("right_drag_data_received");
    if (relay_hub::window_is_closing() || !holds_bytes(selection) || !copy_is_suggested(context))
        return -1;
    const std::string text = text_of(selection);
    if (info == kTreeRows) {
        print_rows(text);
        return 0;
    }
    if (info != kUriList)
        return -1;
    std::puts("TEXT_URI_LIST");
    return relay_hub::paste_into_remote_folder([&] { return Gfile_split_string_to_list(text, "\r\n", 1); });
}

int remote_receive_data(GtkWidget*, GtkSelectionData* selection) {
    if (relay_hub::window_is_closing() || !holds_bytes(selection))
        return -1;
    const std::string text = text_of(selection);
    return relay_hub::copy_to_local_folder([&] { return Gfile_split_string_to_list(text, "\r\n", 0); },
                                           relay_hub::remembered_remote_selection());
}
