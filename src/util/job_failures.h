#pragma once
// How a job keeps and tells what it could not do. The job's worker only.
#include <string>

#include "base/diagnostics.h"
#include "util/job_state.h"

namespace relay_hub {

// Appends the entry to the job's failures and tells it on standard error.
void note_failure(__task_list* job, const CallSite& site, const std::string& path, int error_number);
void note_failure(__task_list* job, const CallSite& site, const std::string& path, const char* reason);
// The items from index first on were never tried, because an earlier one ended the job.
void note_untried_items(__task_list* job, const CallSite& site, std::size_t first);

}  // namespace relay_hub
