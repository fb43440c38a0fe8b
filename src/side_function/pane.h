#pragma once
// A pane: one side's widgets, the folder that it shows and what is selected there. A small value that is made
// where it is needed; the state lives in the widgets. Window's thread.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "window/ui_sets.h"

namespace relay_hub {

class Pane {
  public:
    static Pane local() { return Pane(get_UI_sets()->left_side, false); }
    static Pane remote() { return Pane(get_UI_sets()->right_side, true); }

    [[nodiscard]] bool is_remote() const { return is_remote_; }
    [[nodiscard]] const __single& widgets() const { return *side_; }
    [[nodiscard]] GtkWidget* list() const { return side_->tree_view; }
    [[nodiscard]] std::string folder() const { return current_folder(side_); }
    // The full path of an entry of the folder.
    [[nodiscard]] std::string path_of(const std::string& name) const;

    // The selected names that an action may take, in the list's order: neither ".." nor a nameless row, which
    // would stand for the folder itself.
    [[nodiscard]] std::vector<std::string> selection() const;
    // Their full paths.
    [[nodiscard]] std::vector<std::string> selected_paths() const;
    // False, after telling the user, when one of these names of remote entries holds a separator: its path
    // would lead to another entry.
    [[nodiscard]] bool may_act_on(const std::vector<std::string>& names) const;
    // The position of the first selected row, 0 when none is selected.
    [[nodiscard]] int first_selected_position() const;

    // Fills the list with the folder's entries; a folder that cannot be read leaves a remote list as it was.
    // 0, or negative. Busy meanwhile.
    [[nodiscard]] int load(const std::string& folder) const;
    // The same for a remote folder that may be gone: kUnlisted, without a message, when the engine answers
    // that it does not list it.
    static constexpr int kUnlisted = -2;
    [[nodiscard]] static int try_to_load_remote(const std::string& folder);
    // Reads the shown folder again; the one selected row stays the selected one. As load.
    [[nodiscard]] int reload() const;
    // The same after a copy into the folder: what has arrived is selected and in view. Where nothing has, all
    // stays before the user's eyes as it was. The keyboard stays where it is.
    struct Arrival {
        std::vector<std::string> names;  // of what was to come; empty after a failure
        bool some_refused = false;       // what was there before is then not among the new
    };
    void reload_after_copy(const Arrival& arrival) const;

    // What becomes selected, and the keyboard goes to the list: the rows of these names with the cursor on
    // that of cursor; the row at position or the last one before it.
    void select(const std::vector<std::string>& names, const std::string& cursor) const;
    void select_near(int position) const;

  private:
    Pane(__single* side, bool is_remote) : side_(side), is_remote_(is_remote) {}

    __single* side_;
    bool is_remote_;
};

// What an action on a pane leaves to be done once it has acted.
struct Outcome {
    // What the action returns; empty: what reading the list again returns.
    std::optional<int> result{};
    // Reads the pane's list again. Not after a request that was given up: the engine may hang still.
    bool reload = true;
    // Selected after that: these rows, with the cursor on that of cursor, or what is near position.
    std::vector<std::string> names{};
    std::string cursor{};
    std::optional<int> position{};
    // Open until the list has been read again.
    std::shared_ptr<void> until_reloaded{};

    static Outcome nothing(int result) { return {.result = result, .reload = false}; }
};

}  // namespace relay_hub
