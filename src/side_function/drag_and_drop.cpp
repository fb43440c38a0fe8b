#include "side_function/drag_and_drop.h"

#include <cstdio>
#include <string>
#include <vector>

#include "side_function/clipboard.h"
#include "side_function/local_job.h"
#include "side_function/pane.h"
#include "side_function/transfer.h"
#include "tree_view_op/file_list_view.h"
#include "util/Zev_file_op.h"
#include "util/folder_listing.h"
#include "window/closing.h"

namespace {

using relay_hub::Pane;
using relay_hub::WindowWork;

constexpr int kBytes = 8;

struct NamedAction {
    GdkDragAction action;
    const char* name;
};
constexpr NamedAction kDragActions[] = {
    {GDK_ACTION_DEFAULT, "GDK_ACTION_DEFAULT"}, {GDK_ACTION_COPY, "GDK_ACTION_COPY"},
    {GDK_ACTION_MOVE, "GDK_ACTION_MOVE"},       {GDK_ACTION_LINK, "GDK_ACTION_LINK"},
    {GDK_ACTION_PRIVATE, "GDK_ACTION_PRIVATE"}, {GDK_ACTION_ASK, "GDK_ACTION_ASK"}};

// Only copies act; every action is traced.
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

relay_hub::Offer dropped(const std::string& text, const char* line_end, bool are_uris) {
    return {relay_hub::split_in_order(text, line_end, are_uris)};
}

int receive_local_files(const std::string& uris) {
    std::puts("TEXT_URI_LIST");
    const std::string folder = Pane::local().folder();
    if (!local_folder_takes_files(folder))
        return -1;
    const relay_hub::Offer offer = dropped(uris, "\n", true);
    for (const std::string& path : offer.paths)
        std::puts(path.c_str());
    Gfile_count = offer.paths.size();
    return relay_hub::put_into_local_folder(offer, folder);
}

std::vector<std::string> remembered_names() {
    std::vector<std::string> names;
    for (const relay_hub::RemoteItem& item : relay_hub::copy_source.remembered)
        names.push_back(item.name);
    return names;
}

// The list loses its selection while a drop is under way; then what was dragged counts.
std::vector<std::string> dragged_remote_names(const Pane& pane) {
    std::vector<std::string> names = pane.selection();
    if (names.empty())
        return remembered_names();
    relay_hub::remember_remote_selection(pane.list(), pane.folder());
    return names;
}

}  // namespace

int left_drag_data_get(GtkWidget*, GdkDragContext*, GtkSelectionData* selection, guint info, guint,
                       gpointer) {
    std::puts("left_drag_data_get");
    if (relay_hub::window_is_closing())
        return -1;
    if (info == kTreeRowTarget)
        set_text(selection, "ABC");
    else if (info == kUriListTarget)
        set_text(selection, set_glist_to_string(Pane::local().selection(), Pane::local().folder(), 1));
    return 0;
}

int left_drag_data_received(GtkWidget* widget, GdkDragContext* context, gint, gint,
                            GtkSelectionData* selection, guint info, guint, gpointer) {
    std::puts("left_drag_data_received");
    if (relay_hub::window_is_closing() || !holds_bytes(selection) || !copy_is_suggested(context))
        return -1;
    const WindowWork work;
    if (info == kTreeRowTarget) {
        print_rows(text_of(selection));
        return remote_receive_data(widget, selection);
    }
    return info == kUriListTarget ? receive_local_files(text_of(selection)) : -1;
}

int right_drag_data_get(GtkWidget*, GdkDragContext*, GtkSelectionData* selection, guint info, guint,
                        gpointer) {
    std::puts("right_drag_data_get");
    if (relay_hub::window_is_closing())
        return -1;
    if (info == kTreeRowTarget) {
        std::puts("GTK_TREE_MODEL_ROW");
    } else if (info != kUriListTarget) {
        std::printf("%u\n", info);
        return -1;
    }
    std::puts("TEXT_URI_LIST");
    const Pane pane = Pane::remote();
    set_text(selection, set_glist_to_string(dragged_remote_names(pane), pane.folder(), 0));
    return 0;
}

int right_drag_data_received(GtkWidget*, GdkDragContext* context, gint, gint, GtkSelectionData* selection,
                             guint info, guint, gpointer) {
    std::puts("right_drag_data_received");
    if (relay_hub::window_is_closing() || !holds_bytes(selection) || !copy_is_suggested(context))
        return -1;
    const std::string text = text_of(selection);
    if (info == kTreeRowTarget) {
        print_rows(text);
        return 0;
    }
    if (info != kUriListTarget)
        return -1;
    std::puts("TEXT_URI_LIST");
    const int result = relay_hub::copy_to_remote_folder([&] { return dropped(text, "\r\n", true); });
    relay_hub::end_offer();
    return result;
}

int remote_receive_data(GtkWidget*, GtkSelectionData* selection) {
    if (relay_hub::window_is_closing() || !holds_bytes(selection))
        return -1;
    if (!Pane::remote().may_act_on(remembered_names()))
        return -1;
    const std::string text = text_of(selection);
    return relay_hub::copy_to_local_folder([&] { return dropped(text, "\r\n", false); },
                                           relay_hub::copy_source.remembered);
}
