#include "side_function/transfer.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "base/diagnostics.h"
#include "base/main_loop.h"
#include "base/translated_text.h"
#include "base/worker.h"
#include "link_engine/answer_slot.h"
#include "link_engine/message_names.h"
#include "link_engine/request_builders.h"
#include "link_engine/transfer_state.h"
#include "side_function/engine_messages.h"
#include "side_function/local_job.h"
#include "side_function/pane.h"
#include "side_function/progress_updater.h"
#include "side_function/wire_path.h"
#include "tree_view_op/file_list_view.h"
#include "util/Zev_file_op.h"
#include "window/closing.h"
#include "window/dialogs/message_dialog.h"
#include "xml_op/answer_readers.h"

namespace relay_hub {
namespace {

// The unit that the remote pane's diagnostics name, whichever source speaks.
constexpr const char* kRemotePaneUnit = "../src/side_function/Zev_right_side.cpp";

constexpr int kUnknownType = -1;

// What the worker works on: no widget, nothing that the window changes meanwhile.
struct ItemListJob {
    __send_args& args;
    std::vector<RemoteItem> attributes;
};

// What differs between the two directions.
struct Direction {
    command_start_t start;
    command_finish_t finish;
    int (*build_lists)(void* job);
    bool to_remote;
};
constexpr Direction kToRemote{set_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE, get_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE,
                              build_xml_string, true};
constexpr Direction kToLocal{set_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL, get_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL,
                             build_xml_string_2, false};

// Only the window knows its rows, so what they show is read here, before the worker starts.
void read_live_attributes(__send_args& args) {
    if (args.items.empty())
        return;
    const std::string& path = args.items.front().path;
    const Pane pane = Pane::remote();
    const bool still_shown = pane.path_of(remote_base_name(path)) == path;
    set_file_system_attribute(still_shown ? pane.list() : nullptr, &args);
}

bool build_item_lists(const Direction& direction, ItemListJob& job) {
    Worker worker;
    if (worker.start("the item lists", [&] { direction.build_lists(&job); }) != 0)
        return false;
    turn_main_loop_until([&worker] { return !worker.running(); });
    worker.join();
    return worker.failure() == nullptr && !job.args.items.empty();
}

// The outcome of a copy, and what may go to the trash after it.
struct Copied {
    int result = -1;
    std::vector<std::string> moved;
    std::vector<std::string> changed;
    std::vector<std::string> left;  // was at the target already, and nobody was asked about it
    Fingerprints before;            // of local items that are to be moved
};

Pane::Arrival arrival_of(const __send_args& args, bool succeeded) {
    Pane::Arrival arrival;
    arrival.some_refused = args.refused;
    if (succeeded)
        std::transform(args.items.begin(), args.items.end(), std::back_inserter(arrival.names),
                       [](const RequestItem& item) { return remote_base_name(item.path); });
    return arrival;
}

// The path in an overwrite question; all of one that is put in other words.
std::string asked_path(const std::string& question) {
    const std::string words = translated("IDS_EXIST_FILE_NAME");
    const std::size_t at = words.find("%s");
    if (at == std::string::npos || !question.starts_with(words.substr(0, at)))
        return question;
    const std::size_t end = question.rfind(words.substr(at + 2));
    return end == std::string::npos || end < at ? question : question.substr(at, end - at);
}

Copied copy_items(const Direction& direction, const OfferSource& source, std::vector<RemoteItem> attributes) {
    const Pane target = direction.to_remote ? Pane::remote() : Pane::local();
    Transfer transfer(TASK_COPY);
    __send_args& args = transfer.args();
    args.target_path = target.folder();
    args.target_path_hex = traced_unicode_hex(args.target_path);
    const Offer offer = source();
    tell_left(offer.foreign, "IDS_REASON_OTHER_MACHINE");
    for (const std::string& path : offer.paths)
        args.items.push_back({path, {}});
    args.is_move = offer.cut;
    if (!direction.to_remote)
        read_live_attributes(args);
    ItemListJob job{args, std::move(attributes)};
    Copied copied;
    if (offer.cut && direction.to_remote)
        copied.before = look_before_move(offer.paths);
    if (build_item_lists(direction, job))
        copied.result = transfer.send(direction.start, direction.finish);
    std::transform(args.left_unasked.begin(), args.left_unasked.end(), std::back_inserter(copied.left),
                   asked_path);
    if (offer.cut) {
        copied.moved = transfer.arrived(copied.result);
        copied.changed = transfer.changed(copied.result);
    }
    if (!args.given_up)
        target.reload_after_copy(arrival_of(args, copied.result == 0 && !transfer.was_cancelled()));
    return copied;
}

void trash_what_was_moved(const Direction& direction, const Copied& copied) {
    if (direction.to_remote) {
        trash_unchanged(copied.before, copied.moved);
    } else {
        Transfer transfer(TASK_DEL);
        trash_remotely(transfer, copied.moved);
    }
    (void)(direction.to_remote ? Pane::local() : Pane::remote()).reload();
}

int run_transfer(const Direction& direction, const OfferSource& source, std::vector<RemoteItem> attributes) {
    if (window_is_closing())
        return -1;
    const WindowWork work;
    const LongWork long_work;
    const Copied copied = copy_items(direction, source, std::move(attributes));
    if (!copied.moved.empty() && !window_is_closing())
        trash_what_was_moved(direction, copied);
    tell_left(copied.changed, "IDS_REASON_CHANGED_MEANWHILE");
    tell_left(copied.left, "IDS_REASON_NAME_TAKEN");
    return copied.result;
}

}  // namespace

Transfer::Transfer(int kind)
    : kind_((CleanUpInformationVar(), kind)), dialog_(&args_.state, &kind_, update_dialog_info) {
    args_.task_kind = kind;
    args_.parent_window = message_parent();
    if (kind != TASK_COPY)
        return;
    set_change_flag(kTransferPrepared);
    SetArgument(&args_);
    Gfile_count = 0;
}

Transfer::~Transfer() {
    set_atomic(&args_.state, kStateFinished);
    dialog_.close();
    show_waiting_message();
    ReleaseArgument();
    CleanUpInformationVar();
    set_change_flag(kNoTransfer);
}

int Transfer::send_once(command_start_t start, command_finish_t finish) {
    const int result = send_command_t(start, finish, &args_);
    // Shows the state at the engine's end, not that of the last tick.
    if (kind_ == TASK_COPY && !window_is_closing())
        (void)update_dialog_info(get_file_read_write_dialog_info());
    return result;
}

int Transfer::send(command_start_t start, command_finish_t finish) {
    if (get_atomic(&args_.state) == TASK_CANCEL || window_is_closing())
        return -1;
    std::puts("create thread!");
    int result = send_once(start, finish);
    // A copy that failed only in part is a success with a message about the failures.
    while ((result == -1 || !GetShowMessageBox().empty()) && can_be_tried_again()) {
        failure_shown_ = true;
        if (!ask_about_failure())
            return result;
        failure_shown_ = false;
        args_.sent_again = true;
        args_.arrived.clear();
        args_.left_unasked.clear();
        set_atomic(&args_.state, kStateRunning);
        result = send_once(start, finish);
    }
    failure_shown_ = !GetShowMessageBox().empty();
    show_end_message(result);
    return result;
}

bool Transfer::was_cancelled() {
    return args_.given_up || IsUserClickCancel() != 0 || get_atomic(&args_.state) == TASK_CANCEL;
}

std::vector<std::string> Transfer::arrived(int result) {
    std::vector<std::string> paths;
    if (was_cancelled())
        return paths;
    const bool reported_per_item = args_.arrived.size() == args_.items.size();
    const bool all = args_.arrived.empty() && result == 0 && !args_.refused && !failure_shown_;
    for (std::size_t item = 0; item < args_.items.size(); ++item) {
        if (reported_per_item ? args_.arrived[item] == *wire::kYes : all)
            paths.push_back(args_.items[item].path);
    }
    return paths;
}

bool Transfer::can_be_tried_again() const {
    return kind_ == TASK_COPY && !args_.given_up && IsUserClickCancel() == 0 && !window_is_closing();
}

std::vector<std::string> Transfer::changed(int result) {
    if (result != 0 || args_.refused || failure_shown_ || was_cancelled())
        return {};
    std::vector<std::string> paths;
    std::transform(args_.items.begin(), args_.items.end(), std::back_inserter(paths),
                   [](const RequestItem& item) { return item.path; });
    return without(paths, arrived(result));
}

int copy_to_remote_folder(const OfferSource& source) {
    return run_transfer(kToRemote, source, {});
}

int copy_to_local_folder(const OfferSource& source, const std::vector<RemoteItem>& attributes) {
    return run_transfer(kToLocal, source, attributes);
}

int trash_remotely(Transfer& transfer, const std::vector<std::string>& paths) {
    std::vector<RequestItem>& list = transfer.args().items;
    for (auto path = paths.rbegin(); path != paths.rend(); ++path) {
        std::printf("delete [%s]\n", remote_base_name(*path).c_str());
        std::string hex = traced_unicode_hex(*path);
        if (hex.empty())
            report({kRemotePaneUnit, __func__, __LINE__},
                   "the name cannot be sent, entry left alone:", *path);
        else
            list.push_back({{}, std::move(hex)});
    }
    if (list.empty())
        return -1;
    return transfer.send(set_NP_VAL_CMD_MOVE_FILE_TO_TRASH, get_NP_VAL_CMD_MOVE_FILE_TO_TRASH);
}

}  // namespace relay_hub

int build_xml_string(void* job) {
    __send_args& args = static_cast<relay_hub::ItemListJob*>(job)->args;
    for (RequestItem& item : args.items) {
        std::puts(item.path.c_str());
        ++Gfile_count;
        item.path_hex = relay_hub::traced_unicode_hex(item.path);
    }
    return 0;
}

int build_xml_string_2(void* job) {
    const auto& lists = *static_cast<relay_hub::ItemListJob*>(job);
    std::unordered_map<std::string_view, ItemAttributes> known;
    for (const relay_hub::RemoteItem& item : lists.attributes)
        known.emplace(item.path, item.attributes);
    for (RequestItem& item : lists.args.items) {
        if (item.attributes.type == relay_hub::kUnknownType)
            item.attributes = known[item.path];
    }
    return build_xml_string(job);
}

int set_file_system_attribute(GtkWidget* tree_view, __send_args* args) {
    std::unordered_multimap<std::string, RequestItem*> wanted;
    for (RequestItem& item : args->items) {
        item.attributes.type = relay_hub::kUnknownType;
        wanted.emplace(relay_hub::remote_base_name(item.path), &item);
    }
    if (tree_view == nullptr)
        return 0;
    GtkTreeModel* model = gtk_tree_view_get_model(GTK_TREE_VIEW(tree_view));
    relay_hub::for_each_row(model, [&](GtkTreeIter* iter) {
        const std::string name = relay_hub::row_name(model, iter);
        const auto [first, last] = wanted.equal_range(name);
        if (first == last || name == "..")
            return;
        const ItemAttributes attributes = relay_hub::row_attributes(model, iter);
        std::for_each(first, last, [&](const auto& entry) { entry.second->attributes = attributes; });
    });
    return 0;
}
