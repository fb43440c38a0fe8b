#include "side_function/transfer.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "base/main_loop.h"
#include "base/path_text.h"
#include "base/worker.h"
#include "link_engine/answer_slot.h"
#include "link_engine/command_runner.h"
#include "link_engine/request_builders.h"
#include "link_engine/transfer_state.h"
#include "side_function/copy_source.h"
#include "side_function/panes.h"
#include "side_function/right_side.h"
#include "tree_view_op/file_list_view.h"
#include "util/Zev_file_op.h"
#include "window/closing.h"
#include "window/message_parent.h"
#include "xml_op/answer_readers.h"

namespace relay_hub {
namespace {

constexpr int kPreparing = 3;
constexpr int kNothingPrepared = 0;
constexpr int kUnknownType = -1;

// What the worker works on: no widget, nothing that the window changes meanwhile.
struct ItemListJob {
    __send_args& args;
    std::vector<RemoteItem> attributes;
};

// What tells the two directions apart.
struct Direction {
    command_start_t start;
    command_finish_t finish;
    int (*build_lists)(void* job);
    __single* (*target_side)();
    int (*reload)();
};
constexpr Direction kToRemote{set_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE, get_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE,
                              build_xml_string, remote_side, reload_remote};
constexpr Direction kToLocal{set_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL, get_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL,
                             build_xml_string_2, local_side, reload_local};

// The shared transfer state belongs to one transfer from the scope's beginning to its end.
class TransferScope {
  public:
    explicit TransferScope(__send_args* args) {
        CleanUpInformationVar();
        set_change_flag(kPreparing);
        SetArgument(args);
    }
    TransferScope(const TransferScope&) = delete;
    TransferScope& operator=(const TransferScope&) = delete;
    ~TransferScope() {
        ReleaseArgument();
        CleanUpInformationVar();
        set_change_flag(kNothingPrepared);
    }
};

// Only the window knows its rows, so what they show is read here, before the worker starts.
void read_live_attributes(__send_args& args) {
    if (args.item_paths.empty())
        return;
    const std::string& path = args.item_paths.front();
    const __single* const side = remote_side();
    const bool still_shown = join_remote_path(folder_of(side), remote_base_name(path)) == path;
    set_file_system_attribute(still_shown ? side->tree_view : nullptr, &args);
}

bool build_item_lists(const Direction& direction, ItemListJob& job) {
    Worker worker;
    if (worker.start("the item lists", [&] { direction.build_lists(&job); }) != 0)
        return false;
    turn_main_loop_until([&worker] { return !worker.running(); });
    worker.join();
    return worker.failure() == nullptr && !job.args.item_paths_hex.empty();
}

int send_items(const Direction& direction, __send_args& args) {
    if (get_atomic(&args.state) == TASK_CANCEL || window_is_closing())
        return -1;
    std::puts("create thread!");
    const int result = send_command_t(direction.start, direction.finish, &args);
    show_end_message(result);
    return result;
}

int run_transfer(const Direction& direction, const PathSource& source, std::vector<RemoteItem> attributes) {
    if (window_is_closing())
        return -1;
    const WindowWork work;
    __send_args args;
    args.task_kind = TASK_COPY;
    const TransferScope scope(&args);
    ProgressDialog dialog(&args.state, &args.task_kind, update_dialog_info);
    args.parent_window = message_parent();
    args.target_path = folder_of(direction.target_side());
    args.target_path_hex = traced_unicode_hex(args.target_path);
    Gfile_count = 0;
    args.item_paths = source();
    // Lists are built by prepending.
    std::reverse(args.item_paths.begin(), args.item_paths.end());
    if (direction.start == kToLocal.start)
        read_live_attributes(args);
    ItemListJob job{args, std::move(attributes)};
    const int result = build_item_lists(direction, job) ? send_items(direction, args) : -1;
    direction.reload();
    set_atomic(&args.state, kStateFinished);
    dialog.close();
    show_waiting_message();
    return result;
}

struct WantedItem {
    __send_args& args;
    std::unordered_multimap<std::string, std::size_t> places;  // by the name in the list
};

void store_attributes(__send_args& args, std::size_t place, const RemoteItem& item) {
    args.item_types[place] = item.type;
    args.item_sizes[place] = item.size;
    args.item_creation_times[place] = item.created;
    args.item_access_times[place] = item.accessed;
    args.item_modification_times[place] = item.modified;
}

gboolean take_attributes(GtkTreeModel* model, GtkTreePath*, GtkTreeIter* iter, gpointer data) {
    auto& wanted = *static_cast<WantedItem*>(data);
    const std::string name = row_name(model, iter);
    if (name == "..")
        return FALSE;
    const auto [first, last] = wanted.places.equal_range(name);
    if (first == last)
        return FALSE;
    const RemoteItem item = remote_row(model, iter);
    std::for_each(first, last, [&](const auto& entry) { store_attributes(wanted.args, entry.second, item); });
    return FALSE;
}

}  // namespace

int paste_into_remote_folder(const PathSource& source) {
    const int result = run_transfer(kToRemote, source, {});
    release_clipboard(nullptr);
    nothing_copied();
    return result;
}

int copy_to_local_folder(const PathSource& source, const std::vector<RemoteItem>& attributes) {
    return run_transfer(kToLocal, source, attributes);
}

int paste_remote_copy() {
    const int result =
        copy_to_local_folder([] { return get_copy_to_remote_file_list(); }, kept_remote_copy());
    release_copy_to_remote_file_list();
    free_old_copy_path();
    nothing_copied();
    release_clipboard(nullptr);
    return result;
}

}  // namespace relay_hub

int build_xml_string(void* job) {
    __send_args& args = static_cast<relay_hub::ItemListJob*>(job)->args;
    args.item_paths_hex.reserve(args.item_paths.size());
    for (const std::string& path : args.item_paths) {
        std::puts(path.c_str());
        ++Gfile_count;
        args.item_paths_hex.push_back(relay_hub::traced_unicode_hex(path));
    }
    return 0;
}

int build_xml_string_2(void* job) {
    const auto& lists = *static_cast<relay_hub::ItemListJob*>(job);
    std::unordered_map<std::string_view, const relay_hub::RemoteItem*> known;
    for (const relay_hub::RemoteItem& item : lists.attributes)
        known.emplace(item.path, &item);
    __send_args& args = lists.args;
    for (std::size_t place = 0; place < args.item_paths.size(); ++place) {
        if (args.item_types[place] != relay_hub::kUnknownType)
            continue;
        const auto found = known.find(args.item_paths[place]);
        relay_hub::store_attributes(args, place,
                                    found == known.end() ? relay_hub::RemoteItem() : *found->second);
    }
    return build_xml_string(job);
}

int set_file_system_attribute(GtkWidget* tree_view, __send_args* args) {
    const std::size_t count = args->item_paths.size();
    args->item_types.assign(count, relay_hub::kUnknownType);
    for (auto* texts : {&args->item_sizes, &args->item_creation_times, &args->item_access_times,
                        &args->item_modification_times})
        texts->assign(count, "");
    if (tree_view == nullptr)
        return 0;
    relay_hub::WantedItem wanted{*args, {}};
    for (std::size_t place = 0; place < count; ++place)
        wanted.places.emplace(relay_hub::remote_base_name(args->item_paths[place]), place);
    gtk_tree_model_foreach(gtk_tree_view_get_model(GTK_TREE_VIEW(tree_view)), relay_hub::take_attributes,
                           &wanted);
    return 0;
}
