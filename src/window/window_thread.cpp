#include "window/window_thread.h"

#include <gtk/gtk.h>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_set>
#include <utility>

#include "base/diagnostics.h"
#include "base/main_loop.h"

namespace relay_hub {
namespace {

struct HandedOver {
    enum class State { waiting, running, done, dropped };
    std::function<void()> function;
    State state = State::waiting;  // guarded by the way's mutex
};
using HandedOverPtr = std::shared_ptr<HandedOver>;

struct Way {
    std::atomic<std::thread::id> thread;
    std::mutex mutex;
    std::condition_variable state_changed;
    bool ended = false;                         // guarded by mutex
    std::unordered_set<HandedOverPtr> pending;  // guarded by mutex
};
Way way;

// Null for one that was dropped. The reference, too, is read under the lock that it was made under: a checker
// of threads sees that lock, and not GLib's.
HandedOverPtr begin(const HandedOverPtr* reference) {
    const std::lock_guard lock(way.mutex);
    HandedOverPtr task = *reference;
    way.pending.erase(task);
    if (task->state != HandedOver::State::waiting)
        return nullptr;
    task->state = HandedOver::State::running;
    return task;
}

void finish(const HandedOverPtr& task) {
    task->function = nullptr;
    {
        const std::lock_guard lock(way.mutex);
        task->state = HandedOver::State::done;
    }
    way.state_changed.notify_all();
}

gboolean run_handed_over(gpointer data) {
    const HandedOverPtr task = begin(static_cast<const HandedOverPtr*>(data));
    if (task == nullptr)
        return G_SOURCE_REMOVE;
    try {
        task->function();
    } catch (const std::exception& error) {
        report(RELAY_HUB_HERE, "a function handed over to the window failed:", error.what());
    }
    finish(task);
    return G_SOURCE_REMOVE;
}

// Null once the main loop has ended.
HandedOverPtr hand_over(std::function<void()> function) {
    auto task = std::make_shared<HandedOver>();
    task->function = std::move(function);
    std::unique_ptr<HandedOverPtr> reference;
    {
        const std::lock_guard lock(way.mutex);
        if (way.ended)
            return nullptr;
        reference = std::make_unique<HandedOverPtr>(task);
        way.pending.insert(task);
    }
    gdk_threads_add_idle_full(
        G_PRIORITY_DEFAULT_IDLE, run_handed_over, reference.release(),
        [](gpointer data) { const std::unique_ptr<HandedOverPtr> owner(static_cast<HandedOverPtr*>(data)); });
    return task;
}

}  // namespace

void remember_window_thread() {
    way.thread = std::this_thread::get_id();
    // The toolkit's turn lets go of its lock while it sleeps.
    set_main_loop_turn([] { gtk_main_iteration(); });
    const std::lock_guard lock(way.mutex);
    way.ended = false;
}

bool on_window_thread() {
    return way.thread.load() == std::this_thread::get_id();
}

void post_to_window(std::function<void()> function) {
    hand_over(std::move(function));
}

bool call_on_window(const std::function<void()>& function) {
    if (on_window_thread()) {
        function();
        return true;
    }
    const HandedOverPtr task = hand_over(function);
    if (task == nullptr)
        return false;
    std::unique_lock lock(way.mutex);
    way.state_changed.wait(lock, [&task] {
        return task->state == HandedOver::State::done || task->state == HandedOver::State::dropped;
    });
    return task->state == HandedOver::State::done;
}

void end_hand_over() {
    std::unordered_set<HandedOverPtr> dropped;
    {
        const std::lock_guard lock(way.mutex);
        way.ended = true;
        dropped.swap(way.pending);
        for (const HandedOverPtr& task : dropped)
            task->state = HandedOver::State::dropped;
    }
    way.state_changed.notify_all();
    // Without the lock: what a function owns may do anything when it goes.
    for (const HandedOverPtr& task : dropped)
        task->function = nullptr;
}

}  // namespace relay_hub
