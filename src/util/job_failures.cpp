#include "util/job_failures.h"

#include <algorithm>
#include <cerrno>

#include "base/shown_text.h"
#include "base/translated_text.h"
#include "util/file_op.h"

namespace relay_hub {
namespace {

constexpr std::size_t kNamesInSummary = 5;

}  // namespace

void note_failure(__task_list* job, const CallSite& site, const std::string& path, int error_number) {
    report_error(site, error_number, path);
    job->failures.push_back({path, error_text(error_number)});
}

void note_failure(__task_list* job, const CallSite& site, const std::string& path, const char* reason) {
    report(site, path, ": ", reason);
    job->failures.push_back({path, reason});
}

void note_untried_items(__task_list* job, const CallSite& site, std::size_t first) {
    for (std::size_t index = first; index < job->items.size(); ++index)
        note_failure(job, site, job->items[index], ECANCELED);
}

std::string failure_summary(const std::vector<__task_failure>& failures) {
    std::string lines;
    for (std::size_t index = 0; index < std::min(failures.size(), kNamesInSummary); ++index) {
        lines += index == 0 ? "" : "\n";
        lines.append(shown_text(failures[index].path))
            .append(": ")
            .append(shown_text(failures[index].reason));
    }
    if (failures.size() > kNamesInSummary)
        lines += "\n…";
    return fill_translated("IDS_MSG_ITEMS_FAILED", {std::to_string(failures.size()), lines});
}

}  // namespace relay_hub
