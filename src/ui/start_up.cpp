#include "ui/start_up.h"

#include <gtk/gtk.h>
#include <malloc.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/diagnostics.h"
#include "base/log.h"
#include "base/option_reader.h"
#include "base/translated_text.h"
#include "link_engine/engine_callbacks.h"
#include "name_pipe/name_pipe_base.h"
#include "ui/link_status_monitor.h"
#include "util/user_questions.h"
#include "window/closing.h"
#include "window/dialogs/message_dialog.h"
#include "window/dialogs/override_request_dialog.h"
#include "window/dialogs/search_dialog.h"
#include "window/ui_sets.h"
#include "window/window_thread.h"

char g_absolute_work_path[kWorkPathSize];

namespace relay_hub {
namespace {

constexpr char kHelp[] =
    "Usage: relay-hub [option]\n"
    "Opens Relay Hub's window: the files of this computer on the left, those of the remote computer on the\n"
    "right. relay-hub-connect starts what reaches the remote computer, and then the window.\n"
    "\n"
    "  --help     print this text and exit\n"
    "  --version  print the version and exit\n"
    "\n"
    "Exit status: 0 ended as asked, 2 for a wrong command line.\n";

struct CommandLine {
    bool help = false;
    bool version = false;
};

constexpr CommandOption<CommandLine> kOptions[] = {
    {.name = "--help", .field = &CommandLine::help},
    {.name = "--version", .field = &CommandLine::version},
};

// The busy dialog behind a listing that takes several turns of the main loop. Listings nest.
class BusyListings : public ListingWatcher {
  public:
    void long_listing_begins() override {
        if (depth_++ > 0)
            return;
        work_ = std::make_unique<WindowWork>();
        busy_ = std::make_unique<BusyDialog>();
    }
    void long_listing_ends() override {
        if (--depth_ > 0)
            return;
        busy_.reset();
        work_.reset();
    }
    bool go_on() override { return !window_is_closing(); }

  private:
    int depth_ = 0;
    std::unique_ptr<WindowWork> work_;
    std::unique_ptr<BusyDialog> busy_;
};

// Any client can end the listener with the channel's own commands; the engine's call-backs are still to come.
void start_listener_again() {
    post_to_window([] {
        CNamePipeBase listener;
        if (!window_is_closing())
            (void)listener.ListenForService();
    });
}

}  // namespace

bool enter_chosen_locale() {
    const bool kept = choose_locale();
    (void)gtk_set_locale();
    return kept;
}

void settle_locale() {
    const char* lang = std::getenv("LANG");
    log_event("locale_ptr:%s", lang != nullptr ? lang : "(null)");
    if (!enter_chosen_locale())
        (void)write_log(kEventLogPath, "set locale");
}

void remember_work_path() {
    if (::getcwd(g_absolute_work_path, sizeof g_absolute_work_path) == nullptr) {
        report_error(RELAY_HUB_HERE, errno);
        g_absolute_work_path[0] = '\0';
    }
}

std::optional<int> serve_command_line(int* argc, char*** argv) {
    constexpr int kWrongUsage = 2;
    // The display is opened later, and the locale settled after that. The toolkit takes this word only once.
    gtk_disable_setlocale();
    gtk_parse_args(argc, argv);
    if (*argc < 2)
        return {};
    enter_language();
    CommandLine line;
    std::string wrong;
    if (!read_options(kOptions, {*argv + 1, *argv + *argc}, line, wrong)) {
        (void)std::fprintf(stderr, "relay-hub: %s\n", refusal(wrong, "relay-hub").c_str());
        return kWrongUsage;
    }
    return std::fputs(line.help ? kHelp : "relay-hub " RELAY_HUB_VERSION "\n", stdout) < 0 ? 1 : 0;
}

bool may_run(const InstanceLock& lock) {
    if (lock.result() == InstanceLock::Result::failed)
        report_error(RELAY_HUB_HERE, lock.error(), lock.path());
    return lock.result() != InstanceLock::Result::held_by_another;
}

void tell_already_running(int* argc, char*** argv) {
    enter_language();
    const std::string text = fill_translated("IDS_MSG_ALREADY_RUNNING", {kProgramName});
    (void)std::fprintf(stderr, "%s\n", text.c_str());
    if (gtk_init_check(argc, argv) == TRUE)
        show_message_dialog(nullptr, text.c_str(), nullptr);
}

std::unique_ptr<ListingWatcher> install_window_services() {
    // The allocator puts what a long list frees together at once. Put off, that was one pause of 45 to 60 ms
    // after a list of 40,000 rows.
    (void)::mallopt(M_MXFAST, 0);
    set_user_questions(window_questions());
    set_remote_offline_handler(set_line_status);
    CNamePipeBase::SetServiceProvider(ServiceProvider);
    CNamePipeBase::SetListenerEndedByCommand(start_listener_again);
    auto busy_listings = std::make_unique<BusyListings>();
    set_listing_watcher(busy_listings.get());
    return busy_listings;
}

void shut_down(CNamePipeBase& listener) {
    end_hand_over();
    const bool monitor_ended = stop_link_monitor();
    const bool listener_ended = listener.ExitListenService();
    if (!monitor_ended || !listener_ended)
        end_process();
}

}  // namespace relay_hub
