#include "util/job_failures.h"

#include <utility>

#include "base/shown_text.h"
#include "base/translated_text.h"

namespace relay_hub {
namespace {

constexpr std::size_t kNamesInSummary = 5;

}  // namespace

void note_failure(__task_list* job, const CallSite& site, const std::string& path, int error_number,
                  FailedItem item) {
    report_error(site, error_number, path);
    job->failures.push_back(
        {path, error_text(error_number), std::move(item.source), std::move(item.destination)});
}

void note_failure(__task_list* job, const CallSite& site, const std::string& path, const std::string& reason,
                  FailedItem item) {
    report(site, path + ":", reason);
    job->failures.push_back({path, reason, std::move(item.source), std::move(item.destination)});
}

std::string failure_summary(const std::vector<__task_failure>& failures) {
    std::string lines;
    std::size_t count = 0;
    for (const __task_failure& failure : failures) {
        if (failure.shown || count++ >= kNamesInSummary)
            continue;
        lines += lines.empty() ? "" : "\n";
        lines.append(shown_text(failure.path)).append(": ").append(shown_text(failure.reason));
    }
    if (count > kNamesInSummary)
        lines += "\n…";
    return count == 0 ? lines : fill_translated("IDS_MSG_ITEMS_FAILED", {std::to_string(count), lines});
}

}  // namespace relay_hub
