#include "window/desktop_notice.h"

#include <libnotify/notify.h>

#include <memory>

#include "base/glib_owners.h"
#include "base/worker.h"
#include "window/window_thread.h"

namespace relay_hub {
namespace {

constexpr char kProgram[] = "Relay Hub";
constexpr char kEntry[] = "relay-hub";  // of the icon and of the desktop file

using Notice = std::shared_ptr<NotifyNotification>;

Notice new_notice(const char* text) {
    if (notify_is_initted() == FALSE && notify_init(kProgram) == FALSE)
        return nullptr;
    Notice notice(notify_notification_new(text, nullptr, kEntry), g_object_unref);
    notify_notification_set_hint(notice.get(), "desktop-entry", g_variant_new_string(kEntry));
    return notice;
}

// Waits for the service, for half a minute if that hangs.
void show(const Notice& notice) {
    const GObjectPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (bus == nullptr)
        return;
    // A bus that goes away would end the program.
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    (void)notify_notification_show(notice.get(), nullptr);
    // The service's signals arrive on the window's thread, so that is where the notice goes.
    post_to_window([notice] {});
}

void end_urgency(GObject* window, GParamSpec*, gpointer) {
    if (gtk_window_is_active(GTK_WINDOW(window)) == FALSE)
        return;
    gtk_window_set_urgency_hint(GTK_WINDOW(window), FALSE);
    g_signal_handlers_disconnect_by_func(window, reinterpret_cast<gpointer>(end_urgency), nullptr);
}

}  // namespace

void call_attention(GtkWidget* window, const char* text) {
    gtk_window_set_urgency_hint(GTK_WINDOW(window), TRUE);
    g_signal_connect(window, "notify::is-active", G_CALLBACK(end_urgency), nullptr);
    if (const Notice notice = new_notice(text)) {
        Worker beside;
        (void)beside.start("a notification", [notice] { show(notice); });
    }
}

}  // namespace relay_hub
