#include "side_function/actions.h"

#include <cstdio>
#include <iterator>
#include <optional>

#include "side_function/local_actions.h"
#include "side_function/remote_actions.h"
#include "window/closing.h"
#include "window/dialogs/search_dialog.h"

namespace relay_hub {
namespace {

struct Row {
    Outcome (*local)(const Pane& pane);
    Outcome (*remote)(const Pane& pane);
    bool takes_selection;
    bool busy_reload = false;  // the busy dialog also over a list that is read quickly
};

Outcome only_reload(const Pane&) {
    return {};
}

// In the order of Action.
constexpr Row kActions[] = {
    {make_local_folder, make_remote_folder, false},
    {rename_local_entry, rename_remote_entry, true},
    {trash_local_entries, trash_remote_entries, true},
    {only_reload, only_reload, false, true},
    {copy_local_entries, copy_remote_entries, true},
    {paste_locally, paste_remotely, false},
    {cut_local_entries, cut_remote_entries, true},
    {copy_local_entries_across, copy_remote_entries_across, true},
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

int run_action(const Pane& pane, Action action, const char* line) {
    if (window_is_closing())
        return -1;
    const WindowWork work;
    const Row& row = row_of(action);
    if (line != nullptr)
        std::puts(line);
    if (row.takes_selection && !pane.may_act_on(pane.selection()))
        return -1;
    const Outcome outcome = (pane.is_remote() ? row.remote : row.local)(pane);
    if (!outcome.reload)
        return outcome.result.value_or(0);
    std::optional<BusyDialog> busy;
    if (row.busy_reload)
        busy.emplace();
    const int reloaded = reload_and_select(pane, outcome);
    return outcome.result.value_or(reloaded);
}

}  // namespace relay_hub
