#pragma once
// How far a local job is, in the progress dialog's second label. Window's thread.
#include "base/main_loop_source.h"
#include "base/non_copyable.h"
#include "base/progress_text.h"
#include "util/job_state.h"

namespace relay_hub {

// Keeps the label up to date while it lives; counters must live longer.
class JobProgressLine : NonCopyable {
  public:
    explicit JobProgressLine(const JobCounters& counters);
    ~JobProgressLine();

  private:
    static gboolean update(gpointer self);

    const JobCounters& counters_;
    ProgressText text_;
    MainLoopSource timer_;
};

}  // namespace relay_hub
