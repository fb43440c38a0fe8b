// Visits a whole tree without recursion, so that no depth overflows the stack.
#pragma once

#include <vector>

namespace relay_hub {

// enter(element, level) comes before an element's children and ends the walk by returning false;
// leave(element, level) comes after them. The root's level is 0. Neither may add or remove elements.
template <typename Element, typename Enter, typename Leave>
void walk_tree(const Element& root, Enter enter, Leave leave) {
    struct Open {
        const Element* element;
        int next_child;
    };
    if (!enter(root, 0))
        return;
    std::vector<Open> path{{&root, 0}};
    while (!path.empty()) {
        Open& top = path.back();
        const int level = static_cast<int>(path.size());
        if (const Element* child = top.element->GetChildAt(top.next_child++)) {
            if (!enter(*child, level))
                return;
            path.push_back({child, 0});
        } else {
            leave(*top.element, level - 1);
            path.pop_back();
        }
    }
}

}  // namespace relay_hub
