#pragma once
// Tables of keys and what they do. Window's thread.
#include <gtk/gtk.h>

#include <array>

namespace relay_hub {

// The key as it was pressed, in lower case, and then by its place on the keyboard's first layout: on a
// Russian one, Ctrl and the key of C still copy.
std::array<guint, 2> key_values(const GdkEventKey* event);

// The row of a table for the event, null for none. A row has a value and its modifiers.
template <typename Row, std::size_t Rows>
const Row* find_key(const Row (&table)[Rows], const GdkEventKey* event) {
    const guint modifiers = event->state & gtk_accelerator_get_default_mod_mask();
    for (const guint value : key_values(event))
        for (const Row& row : table)
            if (row.value == value && row.modifiers == modifiers)
                return &row;
    return nullptr;
}

}  // namespace relay_hub
