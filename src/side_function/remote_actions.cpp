#include "side_function/remote_actions.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "base/plain_text.h"
#include "base/translated_text.h"
#include "link_engine/request_builders.h"
#include "link_engine/transfer_state.h"
#include "side_function/clipboard.h"
#include "side_function/copy_source.h"
#include "side_function/transfer.h"
#include "side_function/wire_path.h"
#include "tree_view_op/file_list_view.h"
#include "util/job_failures.h"
#include "window/closing.h"
#include "window/dialogs/message_dialog.h"
#include "window/dialogs/mkdir_dialog.h"
#include "window/dialogs/rename_dialog.h"
#include "window/dialogs/search_dialog.h"
#include "xml_op/answer_readers.h"

namespace relay_hub {
namespace {

int send_busily(command_start_t start, command_finish_t finish, __send_args& args) {
    std::puts("create thread!");
    const BusyDialog busy;
    args.parent_window = message_parent();
    return send_command_t(start, finish, &args);
}

void show_operation_failure() {
    const std::string reason(without_full_stop(return_message()));
    if (reason.empty() || window_is_closing())
        return;
    show_error_box(message_parent(), GTK_BUTTONS_OK, "Operation Fail.", reason + ".");
}

// The lines for answers that could not be judged.
struct ResultLine {
    int result;
    const char* line;
};
constexpr ResultLine kUnjudged[] = {{RET_XML_TAG_MISS, "capture RET_XML_TAG_MISS!\n"},
                                    {RET_XML_FMT_ERROR, "capture RET_XML_FMT_ERROR!\n"},
                                    {RET_XML_NULL, "capture RET_XML_NULL!\n"}};

void report_folder_result(int result, const std::string& path) {
    if (result == 0) {
        std::printf("create folder [%s]\n", path.c_str());
        return;
    }
    if (result == -1) {
        show_operation_failure();
        return;
    }
    const auto* const known = std::find_if(std::begin(kUnjudged), std::end(kUnjudged),
                                           [=](const ResultLine& row) { return row.result == result; });
    (void)std::fputs(known == std::end(kUnjudged) ? "no capture!\n" : known->line, stderr);
}

// The engine's reason for a refusal; empty when it came, or no answer did.
std::string refusal(const std::string& path, const std::string& place, __send_args& args) {
    args.task_kind = kTaskRename;
    args.source_path_hex = traced_unicode_hex(path);
    args.target_path_hex = traced_unicode_hex(place);
    free_return_message();
    if (send_busily(set_NP_VAL_CMD_RENAME, get_NP_VAL_CMD_RENAME, args) == 0 || args.given_up)
        return {};
    const std::string_view reason = without_full_stop(return_message());
    return std::string(reason.empty() ? translated("IDS_REASON_REFUSED_THERE") : reason);
}

// Asks the engine for the new name and notes in outcome what became of it.
void rename_on_engine(const Pane& pane, const std::string& new_name, Outcome& outcome) {
    const std::string old_name = outcome.cursor;
    __send_args args;
    const std::string reason = refusal(pane.path_of(old_name), pane.path_of(new_name), args);
    outcome.reload = !args.given_up;
    if (args.given_up)
        return;
    if (!reason.empty()) {
        if (!window_is_closing())
            show_error_box(message_parent(), GTK_BUTTONS_OK,
                           fill_translated("IDS_MSG_ERR_FAIL_TO_RENAME_FILE", {old_name, reason}));
        return;
    }
    std::printf("rename [%s] to [%s]\n", old_name.c_str(), new_name.c_str());
    std::replace(outcome.names.begin(), outcome.names.end(), old_name, new_name);
    outcome.cursor = new_name;
}

// What was cut in the pane goes to the folder that it shows now, replacing nothing.
Outcome move_within(const Pane& pane, const std::vector<std::string>& paths) {
    Outcome outcome;
    std::vector<__task_failure> failures;
    for (const std::string& path : paths) {
        const std::string name = remote_base_name(path);
        const std::string place = pane.path_of(name);
        if (path == place)
            continue;
        std::vector<std::string> is_free{name};
        remove_shown_names(pane.list(), is_free);
        __send_args args;
        const bool into_itself = place.starts_with(path) &&
                                 std::string_view("/\\").find(place[path.size()]) != std::string_view::npos;
        const std::string reason = into_itself       ? translated("IDS_REASON_INTO_ITSELF")
                                   : is_free.empty() ? translated("IDS_REASON_NAME_TAKEN")
                                                     : refusal(path, place, args);
        outcome.reload = !args.given_up;
        if (args.given_up || window_is_closing())
            break;
        if (reason.empty())
            outcome.names.push_back(name);
        else
            failures.push_back({path, reason});
    }
    if (!failures.empty() && !window_is_closing())
        show_error_box(message_parent(), GTK_BUTTONS_OK, failure_summary(failures));
    return outcome;
}

Outcome remember_entries(const Pane& pane, bool cut) {
    const std::vector<std::string> paths = pane.selected_paths();
    if (paths.empty())
        return Outcome::nothing(-1);
    release_copy_to_remote_file_list();
    remember_remote_selection(pane.list(), pane.folder());
    keep_remote_copy(cut);
    give_way_to_newer_copies();
    g_copy_source = kCopiedRemotely;
    g_p_tree_view = pane.list();
    for (const std::string& path : paths)
        std::printf("set data is [%s]\n", path.c_str());
    set_copy_to_remote_file_list(paths);
    std::printf("create new memory addr. %p\n", static_cast<void*>(&g_copy_to_remote_file_list));
    return Outcome::nothing(0);
}

}  // namespace

Outcome make_remote_folder(const Pane& pane) {
    const std::string name = ask_folder_name();
    if (name.empty())
        return Outcome::nothing(0);
    __send_args args;
    args.task_kind = kTaskCreateFolder;
    args.source_path = pane.path_of(name);
    args.source_path_hex = traced_unicode_hex(args.source_path);
    CleanUpInformationVar();
    free_return_message();
    Outcome outcome{.names = {name}, .cursor = name};
    outcome.result = send_busily(set_NP_VAL_CMD_CREATE_FOLDER, get_NP_VAL_CMD_CREATE_FOLDER, args);
    outcome.reload = !args.given_up;
    report_folder_result(*outcome.result, args.source_path);
    free_return_message();
    return outcome;
}

Outcome rename_remote_entry(const Pane& pane) {
    Outcome outcome{.names = pane.selection(), .cursor = name_to_rename(pane.list())};
    CleanUpInformationVar();
    if (outcome.cursor.empty())
        return outcome;
    const std::string new_name = ask_new_name(outcome.cursor, pane.folder(), pane.is_remote(), pane.list());
    if (new_name.empty())
        return Outcome::nothing(0);
    if (new_name != outcome.cursor)
        rename_on_engine(pane, new_name, outcome);
    return outcome;
}

Outcome trash_remote_entries(const Pane& pane) {
    Outcome outcome{.position = pane.first_selected_position()};
    const auto transfer = std::make_shared<Transfer>(TASK_DEL);
    trash_remotely(*transfer, pane.selected_paths());
    outcome.reload = !transfer->was_given_up();
    outcome.until_reloaded = transfer;
    return outcome;
}

Outcome copy_remote_entries(const Pane& pane) {
    return remember_entries(pane, false);
}

Outcome cut_remote_entries(const Pane& pane) {
    return remember_entries(pane, true);
}

Outcome paste_remotely(const Pane& pane) {
    if (g_copy_source == kCopiedRemotely) {
        const Offer offer = remote_copy();
        release_copy_to_remote_file_list();
        clear_copy_source();
        return offer.cut ? move_within(pane, offer.paths) : Outcome::nothing(-1);
    }
    const int result = copy_to_remote_folder(read_offer);
    end_offer();
    return Outcome::nothing(result);
}

Outcome copy_remote_entries_across(const Pane& pane) {
    const std::vector<std::string> paths = pane.selected_paths();
    if (paths.empty())
        return Outcome::nothing(-1);
    remember_remote_selection(pane.list(), pane.folder());
    return Outcome::nothing(copy_to_local_folder([&] { return Offer{paths}; }, copy_source.remembered));
}

}  // namespace relay_hub
