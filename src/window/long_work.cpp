#include "window/long_work.h"

#include <gtk/gtk.h>

#include "base/translated_text.h"
#include "window/closing.h"
#include "window/desktop_notice.h"
#include "window/ui_sets.h"

namespace relay_hub {
namespace {

constexpr gint64 kLong = 10 * G_TIME_SPAN_SECOND;
// Where a dialog has just closed or a box opens, no widget has the keyboard for a moment.
constexpr guint kUntilFocusSettles = 500;

LongWork* outermost = nullptr;

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
    awake_.emplace();
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
