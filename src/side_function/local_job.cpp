#include "side_function/local_job.h"

#include <utility>

#include "side_function/panes.h"
#include "util/job_state.h"
#include "window/jobs.h"

namespace relay_hub {
namespace {

int run_with_dialog(int kind, std::vector<std::string> items, const std::string& folder) {
    const TaskListPtr job(new_task_list());
    job->task_kind = kind;
    job->items = std::move(items);
    job->folder = folder;
    const ProgressDialog dialog(&job->state, &job->task_kind, nullptr);
    return run_local_job(job.get());
}

}  // namespace

int copy_into_local_folder(std::vector<std::string> paths, const std::string& folder) {
    const int result = run_with_dialog(TASK_COPY, std::move(paths), folder);
    reload_local();
    return result;
}

int delete_from_local_folder(std::vector<std::string> names, const std::string& folder) {
    return run_with_dialog(TASK_DEL, std::move(names), folder);
}

}  // namespace relay_hub
