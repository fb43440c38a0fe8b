#include <gtk/gtk.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/log.h"
#include "base/ownership.h"
#include "base/translated_text.h"
#include "name_pipe/name_pipe_base.h"
#include "ui/event_handlers.h"
#include "ui/folder_watch.h"
#include "ui/main_window.h"
#include "ui/signals.h"
#include "ui/start_up.h"
#include "ui/window_state.h"
#include "window/window_thread.h"

namespace {

void bring_up_toolkit(int* argc, char*** argv) {
    gtk_init(argc, argv);
    relay_hub::settle_locale();
    relay_hub::bind_catalogue();
    std::printf("gtk_version: %u.%u.%u\n", gtk_major_version, gtk_minor_version, gtk_micro_version);
    std::printf("glib_version: %u.%u.%u\n", glib_major_version, glib_minor_version, glib_micro_version);
}

// Showing the window runs handlers that turn the main loop, which gives the lock away and takes it back.
void show_window() {
    gdk_threads_enter();
    const UI* ui = new_zev_window();
    relay_hub::remember_window(ui, relay_hub::window_state_path());
    relay_hub::follow_local_folder(ui->left_side);
    visible_main_window();
    visible_local_widget();
    gdk_threads_leave();
}

}  // namespace

int main(int argc, char** argv) {
    // The lines of a run that is killed are to be there.
    (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
    gdk_threads_init();
    if (const auto status = relay_hub::serve_command_line(&argc, &argv))
        return *status;
    CNamePipeBase listener;
    relay_hub::remember_work_path();
    if (handle_register() != 0) {
        const int error = errno;
        (void)std::fprintf(stderr, "%s >> [%s]\tcode:[%d]\n", "main", std::strerror(error), error);
        return 0;
    }
    const relay_hub::InstanceLock only_one(relay_hub::kWindowLock);
    if (!relay_hub::may_run(only_one)) {
        relay_hub::tell_already_running(&argc, &argv);
        return 0;
    }
    theLog.SetFile(kPipeTracePath, false);
    if (!relay_hub::foreign_owner(kEventLogPath))
        (void)std::remove(kEventLogPath);
    bring_up_toolkit(&argc, &argv);
    relay_hub::remember_window_thread();
    const auto listing_watcher = relay_hub::install_window_services();
    show_window();
    CNamePipeBase::SetupParam(kNotifyPipe, kPipeBufferSize, kPipeBufferSize);
    if (!listener.ListenForService())
        (void)std::fprintf(stderr, "Relay Hub: %s\n", relay_hub::translated("IDS_MSG_NO_LISTENER"));
    if (!relay_hub::main_window_is_gone())
        gtk_main();
    relay_hub::shut_down(listener);
    return 0;
}
