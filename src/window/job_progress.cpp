#include "window/job_progress.h"

#include <gtk/gtk.h>

#include "window/dialogs/file_read_write_dialog.h"

namespace relay_hub {
namespace {

constexpr guint kUpdateInterval = 300;

}  // namespace

JobProgressLine::JobProgressLine(const JobCounters& counters)
    : counters_(counters), timer_(gdk_threads_add_timeout(kUpdateInterval, update, this)) {}

JobProgressLine::~JobProgressLine() {
    // Where the job ended, and not where it was a moment before.
    (void)update(this);
}

gboolean JobProgressLine::update(gpointer self) {
    auto* line = static_cast<JobProgressLine*>(self);
    const JobProgress progress = line->counters_.snapshot();
    const dialog_info* info = get_file_read_write_dialog_info();
    if (info->second_label == nullptr || !progress.counted)
        return G_SOURCE_CONTINUE;
    const ProgressCounts counts{progress.items_done, progress.items_total, 0,
                                progress.bytes_done, progress.bytes_total, progress.bytes_moved};
    gtk_label_set_text(GTK_LABEL(info->second_label),
                       line->text_.text(counts, ProgressText::Clock::now()).c_str());
    return G_SOURCE_CONTINUE;
}

}  // namespace relay_hub
