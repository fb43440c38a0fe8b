#include "base/main_loop.h"

#include <glib.h>

namespace relay_hub {
namespace {

void (*one_turn)() = [] { g_main_context_iteration(nullptr, TRUE); };

}  // namespace

void turn_main_loop_until(const std::function<bool()>& condition) {
    while (!condition())
        one_turn();
}

void serve_main_loop(std::chrono::milliseconds limit) {
    const gint64 end = g_get_monotonic_time() + std::chrono::microseconds(limit).count();
    bool idle = false;
    const auto all_served = [](gpointer flag) {
        *static_cast<bool*>(flag) = true;
        return static_cast<gboolean>(G_SOURCE_REMOVE);
    };
    // Behind everything else that waits.
    const guint source = g_idle_add_full(G_PRIORITY_LOW + G_PRIORITY_LOW, all_served, &idle, nullptr);
    turn_main_loop_until([&idle, end] { return idle || g_get_monotonic_time() >= end; });
    if (!idle)
        g_source_remove(source);
}

void set_main_loop_turn(void (*turn)()) {
    one_turn = turn;
}

}  // namespace relay_hub
