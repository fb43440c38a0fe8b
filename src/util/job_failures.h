#pragma once
// How a job keeps and tells what it could not do. The job's worker only, unless said otherwise.
#include <string>
#include <vector>

#include "base/diagnostics.h"
#include "util/job_state.h"

namespace relay_hub {

// What can be tried again: a source and, of a copy, the full path that it was to get.
struct FailedItem {
    std::string source;
    std::string destination;
};

// Appends the entry to the job's failures and tells it on standard error.
void note_failure(__task_list* job, const CallSite& site, const std::string& path, int error_number,
                  FailedItem item = {});
void note_failure(__task_list* job, const CallSite& site, const std::string& path, const std::string& reason,
                  FailedItem item = {});

// The text of the box that ends a job in which entries failed: how many, then the first names with their
// reasons. Empty when each failure has been shown before. Any thread.
std::string failure_summary(const std::vector<__task_failure>& failures);

}  // namespace relay_hub
