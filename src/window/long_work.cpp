#include "window/long_work.h"

#include <gio/gunixfdlist.h>
#include <gtk/gtk.h>
#include <libnotify/notify.h>

#include "base/file_descriptor.h"
#include "base/glib_owners.h"
#include "base/signals_blocked.h"
#include "base/translated_text.h"
#include "base/worker.h"
#include "window/closing.h"
#include "window/ui_sets.h"
#include "window/window_thread.h"

namespace relay_hub {
namespace {

constexpr gint64 kLong = 10 * G_TIME_SPAN_SECOND;
// Where a dialog has just closed or a box opens, no widget has the keyboard for a moment.
constexpr guint kUntilFocusSettles = 500;

constexpr char kEntry[] = "relay-hub";  // of the icon and of the desktop file

constexpr char kService[] = "org.freedesktop.login1";
constexpr char kObject[] = "/org/freedesktop/login1";
constexpr char kInterface[] = "org.freedesktop.login1.Manager";
constexpr int kUsualTimeout = -1;

LongWork* outermost = nullptr;

using Notice = std::shared_ptr<NotifyNotification>;

Notice new_notice(const char* text) {
    if (notify_is_initted() == FALSE && notify_init(kProgramName) == FALSE)
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

// Tells a user who looks at other windows: in a desktop notification, and by marking the window as urgent
// until the user turns to it. Nothing waits for a notification service that is missing or hangs.
void call_attention(GtkWidget* window, const char* text) {
    gtk_window_set_urgency_hint(GTK_WINDOW(window), TRUE);
    g_signal_connect(window, "notify::is-active", G_CALLBACK(end_urgency), nullptr);
    if (const Notice notice = new_notice(text)) {
        Worker beside;
        (void)beside.start("a notification", [notice] { show(notice); });
    }
}

bool is_in_front() {
    GList* const windows = gtk_window_list_toplevels();
    bool active = false;
    for (const GList* link = windows; link != nullptr; link = link->next)
        active = active || gtk_window_is_active(GTK_WINDOW(link->data)) != FALSE;
    g_list_free(windows);
    return active;
}

gboolean tell_of_end(gpointer text_id) {
    GtkWidget* window = get_UI_sets()->main_window;
    if (window != nullptr && !window_is_closing() && !is_in_front())
        call_attention(window, translated(static_cast<const char*>(text_id)));
    return G_SOURCE_REMOVE;
}

}  // namespace

// Keeps the machine awake for as long as it lives, where a login service is there to be asked. Nothing waits
// for that service, and one that is missing or refuses is no error.
class LongWork::SleepInhibitor : NonCopyable {
  public:
    SleepInhibitor();
    ~SleepInhibitor();

  private:
    static void ask(GObject* source, GAsyncResult* result, gpointer self);
    static void take_lock(GObject* bus, GAsyncResult* result, gpointer self);

    GObjectPtr<GCancellable> asking_;
    FileDescriptor lock_;  // the machine stays awake while this is open
};

LongWork::SleepInhibitor::SleepInhibitor() : asking_(g_cancellable_new()) {
    const SignalsBlocked blocked;  // for the threads that the bus starts
    g_bus_get(G_BUS_TYPE_SYSTEM, asking_.get(), ask, this);
}

LongWork::SleepInhibitor::~SleepInhibitor() {
    g_cancellable_cancel(asking_.get());
}

// Once called off, both steps end in an error, and self is gone.
void LongWork::SleepInhibitor::ask(GObject*, GAsyncResult* result, gpointer self) {
    const GObjectPtr<GDBusConnection> bus(g_bus_get_finish(result, nullptr));
    if (bus == nullptr)
        return;
    // A bus that goes away would end the program.
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    GVariant* request = g_variant_new("(ssss)", "sleep", kProgramName, translated("IDS_FILE_OP"), "block");
    g_dbus_connection_call_with_unix_fd_list(bus.get(), kService, kObject, kInterface, "Inhibit", request,
                                             G_VARIANT_TYPE("(h)"), G_DBUS_CALL_FLAGS_NONE, kUsualTimeout,
                                             nullptr, static_cast<SleepInhibitor*>(self)->asking_.get(),
                                             take_lock, self);
}

void LongWork::SleepInhibitor::take_lock(GObject* bus, GAsyncResult* result, gpointer self) {
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

LongWork::LongWork() : outermost_(outermost == nullptr) {
    if (!outermost_)
        return;
    outermost = this;
    go_on();
}

LongWork::~LongWork() {
    if (!outermost_)
        return;
    pause("IDS_WORK_FINISHED");
    outermost = nullptr;
}

void LongWork::go_on() {
    began_ = g_get_monotonic_time();
    awake_ = std::make_unique<SleepInhibitor>();
}

void LongWork::pause(const char* text_id) {
    awake_.reset();
    if (g_get_monotonic_time() - began_ > kLong && !window_is_closing())
        gdk_threads_add_timeout(kUntilFocusSettles, tell_of_end, const_cast<char*>(text_id));
}

WorkPause::WorkPause() : work_(outermost) {
    if (work_ != nullptr)
        work_->pause("IDS_WORK_FINISHED_WITH_FAILURES");
}

WorkPause::~WorkPause() {
    if (work_ != nullptr)
        work_->go_on();
}

}  // namespace relay_hub
