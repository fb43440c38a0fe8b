#include "side_function/progress_updater.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "base/shown_text.h"
#include "base/translated_text.h"
#include "link_engine/transfer_state.h"
#include "util/job_state.h"
#include "window/dialogs/file_read_write_dialog.h"
#include "window/loops.h"

namespace {

constexpr glong kLongestText = 55;
constexpr glong kCutText = 53;

constexpr double kFullBar = 100;
constexpr double kSlowFrom = 55;
constexpr double kSlowStep = 0.1;
constexpr double kStep = 0.3;

double bar_percent(const dialog_info& info) {
    return gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(info.progress_bar)) * kFullBar;
}

void set_bar_percent(const dialog_info& info, double percent) {
    gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(info.progress_bar), CLAMP(percent / kFullBar, 0.0, 1.0));
}

void set_label(GtkWidget* label, const std::string& text) {
    gtk_label_set_text(GTK_LABEL(label), text.c_str());
}

// How far a copy is cannot be known yet: the bar only shows that something goes on.
void creep(const dialog_info& info) {
    set_label(info.message_label, relay_hub::translated("IDS_MSG_PROCESSING"));
    const double percent = bar_percent(info);
    if (percent >= kFullBar)
        set_bar_percent(info, kStep);
    else
        set_bar_percent(info, percent + (percent >= kSlowFrom ? kSlowStep : kStep));
}

std::string fitting_text(const std::string& engine_text) {
    std::string text = relay_hub::shown_text(engine_text);
    if (g_utf8_strlen(text.c_str(), -1) <= kLongestText)
        return text;
    const char* const cut = g_utf8_offset_to_pointer(text.c_str(), kCutText);
    return text.substr(0, static_cast<std::size_t>(cut - text.c_str())) + "...";
}

double percent_of(const relay_hub::TransferSnapshot& snapshot) {
    if (snapshot.total == 0)
        return 0;
    const double percent =
        static_cast<double>(snapshot.current) / static_cast<double>(snapshot.total) * kFullBar;
    // Written so that what is no number counts as 0.
    return percent > 0 ? percent : 0;
}

bool same_file_goes_on(const dialog_info& info, const std::string& text) {
    const char* const shown = gtk_label_get_text(GTK_LABEL(info.message_label));
    return *shown != '\0' && text == shown &&
           std::strcmp(shown, relay_hub::translated("IDS_MSG_PROCESSING")) != 0;
}

void show_copy_progress(const dialog_info& info) {
    const relay_hub::TransferSnapshot snapshot = relay_hub::transfer_snapshot();
    if (snapshot.being_written)
        return;
    const std::string text = fitting_text(snapshot.progress_info);
    const double percent = percent_of(snapshot);
    // Time passes and items end also while the bar stands.
    set_label(info.second_label, relay_hub::shown_text(snapshot.elapsed_time));
    // Within one file the bar never goes back.
    if (same_file_goes_on(info, text) && percent <= bar_percent(info))
        return;
    set_label(info.message_label, text);
    set_bar_percent(info, percent);
}

void show_deletion(const dialog_info& info) {
    set_label(info.message_label, relay_hub::translated("IDS_MN_DELETE"));
    gtk_progress_bar_pulse(GTK_PROGRESS_BAR(info.progress_bar));
}

}  // namespace

gboolean update_dialog_info(gpointer data) {
    const auto* info = static_cast<const dialog_info*>(data);
    if (info == nullptr || info->dialog == nullptr)
        return G_SOURCE_REMOVE;
    if (atomic_flag == 1) {
        std::puts("STOP_LOOP");
        return G_SOURCE_REMOVE;
    }
    if (get_change_flag() == kTransferPrepared) {
        creep(*info);
        return G_SOURCE_CONTINUE;
    }
    switch (info->job.task_kind == nullptr ? TASK_COPY : *info->job.task_kind) {
        case TASK_COPY:
            show_copy_progress(*info);
            break;
        case TASK_MOVE:
            set_label(info->message_label, "...");
            break;
        case TASK_DEL:
            show_deletion(*info);
            break;
        default:
            break;
    }
    return G_SOURCE_CONTINUE;
}
