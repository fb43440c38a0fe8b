#include "util/delete_job.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "base/path_text.h"
#include "util/Zev_file_op.h"
#include "util/file_op_unit.h"
#include "util/job_failures.h"
#include "util/trash.h"
#include "util/user_questions.h"

namespace {

// False when the job ends with it.
bool delete_entry(relay_hub::Trash& trash, const std::string& name) {
    const std::string path = relay_hub::join_local_path(tasks->folder, name);
    std::printf("%s\n", path.c_str());
    if (g_file_test(path.c_str(), G_FILE_TEST_IS_DIR) != FALSE && Gfile_check_del_op(path) != 0) {
        relay_hub::note_failure(tasks, FILE_OP_HERE, path, EACCES, {name, {}});
        return false;
    }
    std::string reason;
    switch (trash.put(path, &reason)) {
        case relay_hub::TrashResult::moved:
        case relay_hub::TrashResult::cancelled:
            return true;
        case relay_hub::TrashResult::stays:
        case relay_hub::TrashResult::partly:
            relay_hub::note_failure(tasks, FILE_OP_HERE, path, reason, {name, {}});
            return true;
        case relay_hub::TrashResult::no_info:
            break;
    }
    g_s_nMsgCode = errno;
    g_s_cMessage = relay_hub::error_text(g_s_nMsgCode);
    relay_hub::note_failure(tasks, FILE_OP_HERE, path, g_s_cMessage);
    return false;
}

void note_untried(std::size_t first) {
    for (std::size_t index = first; index < tasks->items.size(); ++index) {
        const std::string& name = tasks->items[index];
        relay_hub::note_failure(tasks, FILE_OP_HERE, relay_hub::join_local_path(tasks->folder, name),
                                ECANCELED, {name, {}});
    }
}

int remember_failure(const char* path, int result) {
    if (result == 0)
        return 0;
    g_s_nMsgCode = errno;
    g_s_cMessage = relay_hub::error_text(g_s_nMsgCode);
    relay_hub::report_error(FILE_OP_HERE, g_s_nMsgCode, path);
    return -1;
}

}  // namespace

int Gfile_local_delete(void* job) {
    tasks = static_cast<__task_list*>(job);
    relay_hub::Trash trash(&tasks->state);
    tasks->counters.set_totals(tasks->items.size(), 0);
    for (std::size_t index = 0; index < tasks->items.size(); ++index) {
        if (check_cancel(tasks) == 0)
            return 0;
        const bool goes_on = delete_entry(trash, tasks->items[index]);
        tasks->counters.finish_item(0);
        if (goes_on)
            continue;
        note_untried(index + 1);
        if (relay_hub::UserQuestions* questions = relay_hub::get_user_questions())
            questions->show_job_error(g_s_cMessage);
        break;
    }
    return 0;
}

int do_delete_callback(const char* path, const struct stat* status, int flag, struct FTW* /*place*/) {
    std::puts("do_delete_callback");
    const bool link = S_ISLNK(status->st_mode);
    int result = 0;
    switch (flag) {
        case FTW_F:
            result = remember_failure(path, link ? unlink(path) : std::remove(path));
            break;
        case FTW_DP:
            result = remember_failure(path, link ? unlink(path) : rmdir(path));
            break;
        case FTW_DNR:
            std::printf("%s can't read this directory\n", path);
            break;
        case FTW_NS:
            std::printf("%s is permission death\n", path);
            break;
        case FTW_SL:
            std::printf("%s is symbolic link(FTW_SL)\n", path);
            break;
        default:
            break;
    }
    if (result != 0)
        return result;
    if (relay_hub::wait_while_paused(&tasks->state) != TASK_CANCEL)
        return 0;
    relay_hub::report(FILE_OP_LINE(1551), "TASK_CANCEL");
    return -1;
}
