#include <glib-unix.h>
#include <gtk/gtk.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "base/glib_owners.h"
#include "base/option_reader.h"
#include "base/program_locale.h"
#include "base/translated_text.h"
#include "connect/options.h"
#include "connect/session.h"

namespace {

using namespace relay_hub::connect;  // NOLINT(google-build-using-namespace)

constexpr int kCannotStart = 1;
constexpr int kWrongUsage = 2;

int complain(int status, const std::string& what) {
    (void)std::fprintf(stderr, "relay-hub-connect: %s\n", what.c_str());
    return status;
}

// The window stands beside this program; so does the engine, unless it is installed among the user's
// commands.
Programs find_programs() {
    const relay_hub::GText self(g_file_read_link("/proc/self/exe", nullptr));
    const relay_hub::GText folder(g_path_get_dirname(self ? self.get() : ""));
    const std::string beside = std::string(folder.get()) + "/";
    const std::string engine = beside + "relay-hub-engine";
    const bool is_beside = access(engine.c_str(), X_OK) == 0;
    return {is_beside ? engine : beside + "../../bin/relay-hub-engine", beside + "relay-hub"};
}

gboolean on_signal(gpointer session) {
    static_cast<Session*>(session)->stop();
    return G_SOURCE_CONTINUE;
}

int run_session(const Options& options) {
    gtk_window_set_default_icon_name("relay-hub");
    gdk_set_program_class("Relay-hub");  // one entry in the desktop's lists for the dialog and the window
    Session session(find_programs());
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        g_unix_signal_add(number, on_signal, &session);
    if (options.computer)
        session.connect(*options.computer);
    else if (!options.serve.empty())
        session.serve(options.serve);
    else if (options.share)
        session.ask_for_folder();
    else
        session.ask();
    return session.run();
}

}  // namespace

int main(int argc, char** argv) {
    relay_hub::enter_language();
    std::string wrong;
    const auto options = parse_options({argv + 1, argv + argc}, wrong);
    if (!options)
        return complain(kWrongUsage, relay_hub::refusal(wrong, "relay-hub-connect"));
    if (const std::string text = text_asked_for(*options); !text.empty())
        return std::fputs(text.c_str(), stdout) < 0 ? kCannotStart : 0;
    if (gtk_init_check(&argc, &argv) == FALSE)
        return complain(kCannotStart, relay_hub::translated("IDS_MSG_NO_DISPLAY"));
    return run_session(*options);
}
