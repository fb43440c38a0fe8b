#pragma once
// What an action leaves to be done once it has acted.
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace relay_hub {

struct Outcome {
    // What the action returns; empty for what reading the list again comes to.
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
