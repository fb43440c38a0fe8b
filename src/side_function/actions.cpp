#include "side_function/actions.h"

#include <cstdio>
#include <iterator>
#include <optional>

#include "side_function/local_actions.h"
#include "side_function/outcome.h"
#include "side_function/remote_actions.h"
#include "window/closing.h"
#include "window/dialogs/search_dialog.h"

namespace relay_hub {
namespace {

struct OneSide {
    const char* line;  // printed first; null for none
    Outcome (*act)(const Pane& pane);
};

struct Row {
    Action action;
    bool takes_selection;
    bool busy_reload;  // the busy dialog also over a list that is read quickly
    OneSide local;
    OneSide remote;
};

Outcome only_reload(const Pane&) {
    return {};
}

constexpr Row kActions[] = {
    {Action::make_folder,
     false,
     false,
     {"left_popup_menu_mkdir", make_local_folder},
     {"right_popup_menu_mkdir", make_remote_folder}},
    {Action::rename,
     true,
     false,
     {"left_popup_menu_rename", rename_local_entry},
     {"right_popup_menu_rename", rename_remote_entry}},
    {Action::remove,
     true,
     false,
     {nullptr, trash_local_entries},
     {"right_popup_menu_delete", trash_remote_entries}},
    {Action::refresh, false, true, {nullptr, only_reload}, {nullptr, only_reload}},
    {Action::copy, true, false, {"left_popup_menu_copy", copy_local_entries}, {nullptr, copy_remote_entries}},
    {Action::paste, false, false, {nullptr, paste_locally}, {"right_popup_menu_paste", paste_remotely}},
    {Action::cut, true, false, {nullptr, cut_local_entries}, {nullptr, cut_remote_entries}},
    {Action::copy_across,
     true,
     false,
     {nullptr, copy_local_entries_across},
     {nullptr, copy_remote_entries_across}},
};

const Row& row_of(Action action) {
    return kActions[static_cast<std::size_t>(action)];
}
static_assert(std::size(kActions) == static_cast<std::size_t>(Action::copy_across) + 1);

int reload_and_select(const Pane& pane, const Outcome& outcome) {
    const int result = pane.reload();
    if (result != 0)
        return result;
    if (outcome.position)
        pane.select_near(*outcome.position);
    else
        pane.select(outcome.names, outcome.cursor);
    return result;
}

}  // namespace

int run_action(const Pane& pane, Action action) {
    if (window_is_closing())
        return -1;
    const WindowWork work;
    const Row& row = row_of(action);
    const OneSide& side = pane.is_remote() ? row.remote : row.local;
    if (side.line != nullptr)
        std::puts(side.line);
    if (row.takes_selection && !pane.may_act_on(pane.selection()))
        return -1;
    const Outcome outcome = side.act(pane);
    if (!outcome.reload)
        return outcome.result.value_or(0);
    std::optional<BusyDialog> busy;
    if (row.busy_reload)
        busy.emplace();
    const int reloaded = reload_and_select(pane, outcome);
    return outcome.result.value_or(reloaded);
}

}  // namespace relay_hub
