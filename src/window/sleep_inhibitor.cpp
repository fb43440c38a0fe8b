#include "window/sleep_inhibitor.h"

#include <gio/gunixfdlist.h>

#include "base/signals_blocked.h"
#include "base/translated_text.h"

namespace relay_hub {
namespace {

constexpr char kService[] = "org.freedesktop.login1";
constexpr char kObject[] = "/org/freedesktop/login1";
constexpr char kInterface[] = "org.freedesktop.login1.Manager";
constexpr int kUsualTimeout = -1;

}  // namespace

SleepInhibitor::SleepInhibitor() : asking_(g_cancellable_new()) {
    const SignalsBlocked blocked;  // for the threads that the bus starts
    g_bus_get(G_BUS_TYPE_SYSTEM, asking_.get(), ask, this);
}

SleepInhibitor::~SleepInhibitor() {
    g_cancellable_cancel(asking_.get());
}

// Once called off, both steps end in an error, and self is gone.
void SleepInhibitor::ask(GObject*, GAsyncResult* result, gpointer self) {
    const GObjectPtr<GDBusConnection> bus(g_bus_get_finish(result, nullptr));
    if (bus == nullptr)
        return;
    // A bus that goes away would end the program.
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    GVariant* request = g_variant_new("(ssss)", "sleep", "Relay Hub", translated("IDS_FILE_OP"), "block");
    g_dbus_connection_call_with_unix_fd_list(bus.get(), kService, kObject, kInterface, "Inhibit", request,
                                             G_VARIANT_TYPE("(h)"), G_DBUS_CALL_FLAGS_NONE, kUsualTimeout,
                                             nullptr, static_cast<SleepInhibitor*>(self)->asking_.get(),
                                             take_lock, self);
}

void SleepInhibitor::take_lock(GObject* bus, GAsyncResult* result, gpointer self) {
    GUnixFDList* list = nullptr;
    GVariant* const reply =
        g_dbus_connection_call_with_unix_fd_list_finish(G_DBUS_CONNECTION(bus), &list, result, nullptr);
    if (reply == nullptr)
        return;
    const GObjectPtr<GUnixFDList> descriptors(list);
    gint32 index = 0;
    g_variant_get(reply, "(h)", &index);
    g_variant_unref(reply);
    if (list != nullptr)
        static_cast<SleepInhibitor*>(self)->lock_.reset(g_unix_fd_list_get(list, index, nullptr));
}

}  // namespace relay_hub
