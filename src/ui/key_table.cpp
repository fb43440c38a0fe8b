#include "ui/key_table.h"

namespace relay_hub {

std::array<guint, 2> key_values(const GdkEventKey* event) {
    guint first_layout = 0;
    (void)gdk_keymap_translate_keyboard_state(gdk_keymap_get_default(), event->hardware_keycode,
                                              static_cast<GdkModifierType>(event->state), 0, &first_layout,
                                              nullptr, nullptr, nullptr);
    return {gdk_keyval_to_lower(event->keyval), gdk_keyval_to_lower(first_layout)};
}

}  // namespace relay_hub
