#include "base/name_order.h"

#include <glib.h>

#include <cstring>

namespace relay_hub {

GText name_sort_key(const char* name) {
    static const bool orders_bytes = std::strcoll("a", "B") > 0;
    if (!orders_bytes)
        return GText(g_utf8_collate_key_for_filename(name, -1));
    const GText folded(g_str_is_ascii(name) != FALSE ? g_ascii_strdown(name, -1) : g_utf8_casefold(name, -1));
    return GText(g_utf8_collate_key_for_filename(folded.get(), -1));
}

}  // namespace relay_hub
