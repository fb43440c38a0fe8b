#include "side_function/local_job.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <utility>

#include "base/main_loop.h"
#include "base/path_text.h"
#include "base/translated_text.h"
#include "base/worker.h"
#include "side_function/pane.h"
#include "util/job_failures.h"
#include "window/closing.h"
#include "window/dialogs/file_read_write_dialog.h"
#include "window/dialogs/message_dialog.h"
#include "window/jobs.h"
#include "window/long_work.h"

namespace relay_hub {
namespace {

// The summary of what failed, and the job of trying that again when the user wants it.
TaskListPtr job_to_try_again(const __task_list& job) {
    const std::string text = failure_summary(job.failures);
    if (text.empty() || window_is_closing())
        return nullptr;
    const WorkPause pause;
    TaskListPtr again = retry_job(job);
    if (again == nullptr) {
        show_error_box(message_parent(), GTK_BUTTONS_OK, text);
        return nullptr;
    }
    return ask_to_try_again(message_parent(), text) ? std::move(again) : nullptr;
}

struct JobEnd {
    int result = 0;
    bool went_through_all = true;
    bool failed = false;
    bool refused = false;
    Paths doubtful;  // paths of what failed, or was refused, and did not succeed when tried again
};

void note_end(const __task_list& job, bool tried_again, JobEnd& end) {
    end.went_through_all = end.went_through_all && end.result == 0 && job.went_through_all;
    end.refused = end.refused || !job.refused.empty();
    end.doubtful.insert(end.doubtful.end(), job.refused.begin(), job.refused.end());
    for (const __task_failure& failure : job.failures) {
        if (tried_again && !failure.source.empty())
            continue;
        end.failed = true;
        end.doubtful.push_back(failure.path);
    }
}

// With whatever the user wants to try again.
JobEnd run_job(int kind, const Paths& items, const std::string& folder) {
    const WindowWork work;
    const LongWork long_work;
    TaskListPtr job(new_task_list());
    job->task_kind = kind;
    job->items = items;
    job->folder = folder;
    JobEnd end;
    while (job != nullptr) {
        TaskListPtr again;
        {
            const ProgressDialog dialog(&job->state, &job->task_kind, nullptr);
            end.result = run_local_job(job.get());
            again = job_to_try_again(*job);
            note_end(*job, again != nullptr, end);
        }
        job = std::move(again);
    }
    return end;
}

// Runs work, which touches no widget, on a worker; otherwise when it could not be done.
template <typename Result>
Result beside_window(const std::function<Result()>& work, const Result& otherwise) {
    Result result;
    Worker worker;
    if (worker.start("a move", [&] { result = work(); }) != 0)
        return otherwise;
    turn_main_loop_until([&worker] { return !worker.running(); });
    worker.join();
    return worker.failure() == nullptr ? result : otherwise;
}

JobEnd move_into(const Paths& paths, const std::string& folder) {
    const WindowWork work;
    const LongWork long_work;
    const Paths left = beside_window<Paths>([&] { return rename_into(folder, paths); }, paths);
    if (left.empty() || window_is_closing())
        return {};
    const Fingerprints before = look_before_move(left);
    JobEnd end = run_job(TASK_COPY, left, folder);
    if (!end.went_through_all || window_is_closing())
        return end;
    const Paths certain = undoubted(folder, left, end.doubtful);
    const Paths arrived = beside_window<Paths>([&] { return arrived_whole(folder, certain); }, {});
    trash_unchanged(before, arrived);
    tell_left(without(certain, arrived), "IDS_REASON_CHANGED_MEANWHILE");
    return end;
}

Pane::Arrival arrival_of(const Paths& paths, const JobEnd& end) {
    Pane::Arrival arrival;
    arrival.some_refused = end.refused;
    if (end.went_through_all && !end.failed)
        std::transform(paths.begin(), paths.end(), std::back_inserter(arrival.names), base_name);
    return arrival;
}

}  // namespace

int put_into_local_folder(const Offer& offer, const std::string& folder) {
    tell_left(offer.foreign, "IDS_REASON_OTHER_MACHINE");
    if (offer.paths.empty())
        return -1;
    const JobEnd end = offer.cut ? move_into(offer.paths, folder) : run_job(TASK_COPY, offer.paths, folder);
    Pane::local().reload_after_copy(arrival_of(offer.paths, end));
    return end.result;
}

int trash_from_local_folder(const Paths& names, const std::string& folder) {
    return run_job(TASK_DEL, names, folder).result;
}

int trash_locally(const Paths& paths) {
    std::map<std::string, Paths> names_by_folder;
    for (const std::string& path : paths)
        names_by_folder[parent_path(path)].push_back(base_name(path));
    int result = 0;
    for (const auto& [folder, names] : names_by_folder)
        result = trash_from_local_folder(names, folder);
    return result;
}

Fingerprints look_before_move(const Paths& paths) {
    return beside_window<Fingerprints>([&] { return fingerprints_of(paths); }, {});
}

void trash_unchanged(const Fingerprints& before, const Paths& paths) {
    const WindowWork work;
    const Paths changed = beside_window<Paths>([&] { return changed_since(before, paths); }, paths);
    const Paths unchanged = without(paths, changed);
    if (!unchanged.empty() && !window_is_closing())
        trash_locally(unchanged);
    tell_left(changed, "IDS_REASON_CHANGED_MEANWHILE");
}

void tell_left(const Paths& items, const char* reason_id) {
    std::vector<__task_failure> failures;
    std::transform(items.begin(), items.end(), std::back_inserter(failures), [&](const std::string& item) {
        return __task_failure{item, translated(reason_id)};
    });
    if (items.empty() || window_is_closing())
        return;
    const WorkPause pause;
    show_error_box(message_parent(), GTK_BUTTONS_OK, failure_summary(failures));
}

}  // namespace relay_hub
