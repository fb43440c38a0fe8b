#include "side_function/helper_thread.h"

#include <gtk/gtk.h>

#include <exception>
#include <system_error>
#include <thread>

#include "base/diagnostics.h"
#include "base/signals_blocked.h"
#include "util/job_state.h"

namespace relay_hub {

bool run_on_helper(const std::function<void()>& work) {
    volatile int state = kStateRunning;
    bool succeeded = false;
    const auto body = [&] {
        try {
            work();
            succeeded = true;
        } catch (const std::exception& error) {
            report(RELAY_HUB_HERE, "the helper ended early:", error.what());
        }
        set_atomic(&state, kStateFinished);
    };
    std::thread helper;
    try {
        const SignalsBlocked blocked;
        helper = std::thread(body);
    } catch (const std::system_error& error) {
        report(RELAY_HUB_HERE, "no helper thread:", error.what());
        return false;
    }
    while (get_atomic(&state) == kStateRunning)
        gtk_main_iteration();
    helper.join();
    return succeeded;
}

}  // namespace relay_hub
