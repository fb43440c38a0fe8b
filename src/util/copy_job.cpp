#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <utility>

#include "base/glib_owners.h"
#include "base/translated_text.h"
#include "util/byte_copy.h"
#include "util/file_identity.h"
#include "util/file_op.h"
#include "util/file_op_unit.h"
#include "util/job_failures.h"
#include "util/sync_batch.h"
#include "util/temporary_file.h"
#include "util/user_questions.h"

namespace {

using relay_hub::CopyOutcome;
using relay_hub::note_failure;
using relay_hub::report;
using relay_hub::translated;

constexpr int kWalkDescriptors = 500;
constexpr int kGoOn = 0;
constexpr int kStop = -1;
constexpr int kCopyIt = 1;
constexpr int kFlagFile = 0;
constexpr int kFlagFolder = 1;
constexpr int kClosedByWindowManager = -4;
constexpr const char* kSameFile = "source and destination are the same file";
constexpr const char* kIntoItself = "a folder cannot be copied into itself";

// A folder whose attributes wait until its content is there.
struct WaitingFolder {
    std::string src;
    std::string dst;
    mode_t new_folder_mode =
        0;  // for a folder made by this job; an existing one takes all of src's attributes
    bool existed = false;
};

// What one run of the job keeps beside the globals.
struct CopyRun {
    struct stat root {};  // of the source being walked
    std::vector<WaitingFolder> waiting_folders;
    relay_hub::SyncBatch batch;
    bool stopped = false;  // by a step of the walk, which has told why
    bool stopped_by_user = false;
};

CopyRun copy_run;

void show_error(const char* primary, const std::string& secondary) {
    if (relay_hub::UserQuestions* questions = relay_hub::get_user_questions())
        questions->show_error(primary, secondary);
}

int ask_overwrite(const std::string& dst) {
    const relay_hub::GText shown(g_filename_display_name(dst.c_str()));
    relay_hub::UserQuestions* questions = relay_hub::get_user_questions();
    if (questions == nullptr)
        return kClosedByWindowManager;
    return questions->ask_overwrite(relay_hub::fill_translated("IDS_EXIST_FILE_NAME", {shown.get()}) + " ?");
}

// The result for file_op_check; sets cp_st and cp_op.
int act_on_answer(int answer) {
    struct Row {
        int answer;
        const char* line;
        int result;
        int replace_all;
        int operation;
    };
    static constexpr Row kRows[] = {
        {REQUEST_YES, "request REQUEST_YES", kCopyIt, 0, OVERRIDE_YES},
        {REQUEST_NO, "request REQUEST_NO", kGoOn, 0, OVERRIDE_NO},
        {REQUEST_ALL, "request REQUEST_ALL", kCopyIt, 1, OVERRIDE_YES},
    };
    for (const Row& row : kRows) {
        if (row.answer == answer) {
            std::puts(row.line);
            cp_st = row.replace_all;
            cp_op = row.operation;
            return row.result;
        }
    }
    if (answer == REQUEST_CANCEL)
        std::puts("request REQUEST_CANCEL");
    else
        report({relay_hub::kFileOpUnit, "file_op_check", 1438}, "no capture any response!", answer);
    copy_run.stopped_by_user = true;
    return kStop;
}

void put_on_disk() {
    const relay_hub::CallSite site = FILE_OP_HERE;
    copy_run.batch.flush([&site](const std::string& path, int error_number) {
        note_failure(tasks, site, path, error_number);
    });
}

void copy_file_entry(const std::string& src, const std::string& dst) {
    const relay_hub::CancelTest cancel{check_cancel, tasks};
    const bool replace = cp_op == OVERRIDE_YES;
    if (replace)
        std::printf("OVERRIDE_YES: remove %s\n", dst.c_str());
    std::printf("copy [%s] file to [%s]\n", src.c_str(), dst.c_str());
    const CopyOutcome outcome =
        replace ? relay_hub::replace_file(src, dst, cancel)
                : relay_hub::copy_new_file(src, dst, cancel, copy_run.batch.time_for(dst));
    if (outcome.error_number != 0) {
        note_failure(tasks, {relay_hub::kFileOpUnit, "Gfile_copy_file", 710}, dst, outcome.error_number);
        return;
    }
    if (!replace) {
        (void)duplicate_file_mode(src, dst);
        (void)duplicate_file_owner(src, dst);
    }
    if (outcome.synced)
        copy_run.batch.add(dst);
    else if (!outcome.cancelled)
        copy_run.batch.add_unsynced(dst, outcome.bytes);
    if (copy_run.batch.is_full())
        put_on_disk();
}

// The link's text, whatever its length. 0 or errno.
int read_link_text(const std::string& path, std::string* text) {
    text->resize(256);
    while (true) {
        const ssize_t length = readlink(path.c_str(), text->data(), text->size());
        if (length < 0)
            return errno;
        if (static_cast<std::size_t>(length) < text->size()) {
            text->resize(static_cast<std::size_t>(length));
            return 0;
        }
        text->resize(text->size() * 2);
    }
}

int make_link(const std::string& text, const std::string& dst) {
    return symlink(text.c_str(), dst.c_str()) == 0 ? 0 : errno;
}

void copy_link_entry(const std::string& src, const std::string& dst, bool to_folder) {
    const bool replace = cp_op == OVERRIDE_YES;
    if (replace)
        std::printf("OVERRIDE_YES: unlink %s\n", dst.c_str());
    std::printf("copy [%s] symbolic link %sto [%s]\n", src.c_str(), to_folder ? "directory " : "",
                dst.c_str());
    std::string text;
    int error = read_link_text(src, &text);
    if (error == 0)
        error = replace ? relay_hub::replace_link(text, dst) : make_link(text, dst);
    if (error != 0)
        note_failure(tasks, FILE_OP_HERE, dst, error);
    else
        copy_run.batch.add(dst);
}

int make_folder(const std::string& src, const struct stat& status, const std::string& dst) {
    std::printf("makdir [%s] directory to [%s]\n", src.c_str(), dst.c_str());
    if (mkdir(dst.c_str(), (status.st_mode & ALLPERMS) | S_IRWXU) != 0) {
        const int mkdir_error = errno;
        std::perror("create directory fail!");
        note_failure(tasks, FILE_OP_HERE, dst, mkdir_error);
        return kStop;
    }
    if ((status.st_mode & S_IRWXU) != S_IRWXU)
        copy_run.waiting_folders.push_back({src, dst, status.st_mode & ALLPERMS, false});
    copy_run.batch.add(dst);
    return kGoOn;
}

int merge_into_folder(const std::string& src, const struct stat& status, const std::string& dst) {
    struct stat target {};
    if (stat(dst.c_str(), &target) == 0 && !S_ISDIR(target.st_mode)) {
        note_failure(tasks, FILE_OP_HERE, dst, ENOTDIR);
        return FTW_SKIP_SUBTREE;
    }
    // An existing destination can be a link that leads back into what is being copied.
    if (relay_hub::lies_within(dst, copy_run.root)) {
        note_failure(tasks, FILE_OP_HERE, dst, kIntoItself);
        return FTW_SKIP_SUBTREE;
    }
    std::printf("OVERRIDE_YES: change attribute [%s] to [%s]\n", src.c_str(), dst.c_str());
    (void)chmod(dst.c_str(), (status.st_mode & ALLPERMS) | S_IRWXU);
    copy_run.waiting_folders.push_back({src, dst, 0, true});
    relay_hub::sweep_temporary_files(dst);
    return kGoOn;
}

void finish_folder(const WaitingFolder& folder) {
    if (folder.existed) {
        (void)duplicate_file_mode(folder.src, folder.dst);
        (void)duplicate_file_owner(folder.src, folder.dst);
        (void)duplicate_file_access_time(folder.src, folder.dst);
        (void)duplicate_file_modify_time(folder.src, folder.dst);
        return;
    }
    // The owner's rights were widened at creation; the others have been through the umask already.
    struct stat made {};
    if (lstat(folder.dst.c_str(), &made) != 0 ||
        chmod(folder.dst.c_str(), made.st_mode & ALLPERMS & (folder.new_folder_mode | ~mode_t{S_IRWXU})) != 0)
        relay_hub::report_error(FILE_OP_HERE, errno, folder.dst);
}

// Deepest first: a folder that loses its search permission hides what is below it.
void finish_waiting_folders() {
    for (auto folder = copy_run.waiting_folders.rbegin(); folder != copy_run.waiting_folders.rend(); ++folder)
        finish_folder(*folder);
    copy_run.waiting_folders.clear();
}

int poll_job() {
    if (relay_hub::wait_while_paused(&tasks->state) != TASK_CANCEL)
        return kGoOn;
    report({relay_hub::kFileOpUnit, "tree_walk_copy", 1335}, "TASK_CANCEL");
    copy_run.stopped_by_user = true;
    return kStop;
}

// What nftw says of a link, in the words of a walk that follows them.
int flag_of(const char* path, int walk_flag) {
    if (walk_flag != FTW_SL && walk_flag != FTW_SLN)
        return walk_flag;
    struct stat target {};
    return stat(path, &target) == 0 && S_ISDIR(target.st_mode) ? kFlagFolder : kFlagFile;
}

int walk_step(const char* path, const struct stat* status, int walk_flag, struct FTW* /*place*/) {
    int result = kStop;
    try {
        result = do_copy_callback(path, status, flag_of(path, walk_flag));
    } catch (const std::exception&) {
        relay_hub::report_error(FILE_OP_HERE, ENOMEM, path);
    }
    copy_run.stopped = result == kStop;
    return result;
}

std::string destination_of(const char* path) {
    const std::size_t base = std::min(static_cast<std::size_t>(source_base_path_length), std::strlen(path));
    return dest_path + (path + base);
}

// A folder is never copied into itself: its copy would be part of what is copied, without end.
bool copies_into_itself(const std::string& source) {
    struct stat status {};
    if (lstat(source.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return false;
    copy_run.root = status;
    const std::string target = destination_of(source.c_str());
    const relay_hub::GText parent(g_path_get_dirname(target.c_str()));
    struct stat there {};
    return relay_hub::lies_within(parent.get(), status) ||
           (lstat(target.c_str(), &there) == 0 && relay_hub::is_same_entry(there, status));
}

std::string without_trailing_slashes(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

// False when the whole job ends.
bool copy_source(const std::string& source) {
    const relay_hub::GText parent(g_path_get_dirname(source.c_str()));
    source_base_path_length = static_cast<int>(std::strlen(parent.get()));
    copy_run.root = {};
    if (copies_into_itself(source)) {
        note_failure(tasks, FILE_OP_HERE, source, kIntoItself);
        source_base_path_length = 0;
        return true;
    }
    const int result = nftw(source.c_str(), walk_step, kWalkDescriptors, FTW_PHYS | FTW_ACTIONRETVAL);
    if (result != kGoOn && !copy_run.stopped)
        note_failure(tasks, FILE_OP_HERE, source, errno);
    source_base_path_length = 0;
    finish_waiting_folders();
    return result == kGoOn;
}

void copy_all_sources() {
    for (std::size_t index = 0; index < tasks->items.size(); ++index) {
        if (poll_job() != kGoOn)
            return;
        if (copy_source(without_trailing_slashes(tasks->items[index])))
            continue;
        if (!copy_run.stopped_by_user)
            note_untried_items(tasks, FILE_OP_HERE, index + 1);
        return;
    }
}

bool destination_is_writable() {
    __file_permission permission;
    if (Gfile_check_file_type_permission(dest_path, &permission) != 0) {
        const int probe_error = errno;
        report({relay_hub::kFileOpUnit, "Gfile_local_copy", 992}, "can't get [", dest_path,
               "] file permission!");
        note_failure(tasks, FILE_OP_HERE, dest_path, probe_error);
        return false;
    }
    if (permission.writable == 1)
        return true;
    show_error(translated("IDS_ERROR_DISPLAY"), "");
    return false;
}

}  // namespace

int check_cancel(void* job) {
    return get_atomic(&static_cast<__task_list*>(job)->state) == TASK_CANCEL ? 0 : -1;
}

int file_op_check(const std::string& src, const std::string& dst, const struct stat* /*status*/) {
    struct stat source {};
    if (lstat(src.c_str(), &source) != 0) {
        const int lstat_error = errno;
        report(FILE_OP_LINE(1362), "file/dir not exist!");
        note_failure(tasks, FILE_OP_HERE, src, lstat_error);
        return kStop;
    }
    // A link is made anew from its text; whether its target is there or may be read does not matter.
    __file_permission permission;
    permission.readable = 1;
    if (!S_ISLNK(source.st_mode) && Gfile_check_file_type_permission(src, &permission) != 0) {
        const int probe_error = errno;
        report(FILE_OP_LINE(1372), "can't get file permission!");
        note_failure(tasks, FILE_OP_HERE, src, probe_error);
        return kStop;
    }
    if (permission.readable == 0) {
        note_failure(tasks, FILE_OP_HERE, src, EACCES);
        show_error(translated("IDS_MSG_TITLE_ERROR"), std::string(translated("IDS_ERROR_DISPLAY")) + "\n" +
                                                          translated("IDS_ERROR_NO_PERMISSION"));
        return kGoOn;
    }
    if (Gfile_file_exist(dst) != 0) {
        cp_op = OVERRIDE_NO;
        return kCopyIt;
    }
    if (relay_hub::replaces_its_source(src, source, dst)) {
        note_failure(tasks, FILE_OP_HERE, src, kSameFile);
        return S_ISDIR(source.st_mode) ? FTW_SKIP_SUBTREE : kGoOn;
    }
    if (cp_st == 1) {
        cp_op = OVERRIDE_YES;
        return kCopyIt;
    }
    return act_on_answer(ask_overwrite(dst));
}

int tree_walk_copy(const std::string& src, const struct stat* status, int flag, const std::string& dst) {
    const bool link = S_ISLNK(status->st_mode);
    int result = kGoOn;
    switch (flag) {
        case kFlagFile:
            if (link)
                copy_link_entry(src, dst, false);
            else
                copy_file_entry(src, dst);
            break;
        case kFlagFolder:
            if (link)
                copy_link_entry(src, dst, true);
            else
                result = cp_op == OVERRIDE_YES ? merge_into_folder(src, *status, dst)
                                               : make_folder(src, *status, dst);
            break;
        case FTW_DNR:
            std::printf("%s can't read this directory\n", src.c_str());
            note_failure(tasks, FILE_OP_HERE, src, EACCES);
            break;
        case FTW_NS:
            std::printf("%s is permission death\n", src.c_str());
            note_failure(tasks, FILE_OP_HERE, src, EACCES);
            break;
        case FTW_SL:
            std::printf("%s is symbolic link\n", src.c_str());
            break;
        default:
            break;
    }
    if (result == kStop)
        return kStop;
    return poll_job() == kStop ? kStop : result;
}

int do_copy_callback(const char* path, const struct stat* status, int flag) {
    const std::string dst = destination_of(path);
    const int check = file_op_check(path, dst, status);
    if (check != kCopyIt)
        return check == kStop || poll_job() == kGoOn ? check : kStop;
    return tree_walk_copy(path, status, flag, dst);
}

int Gfile_local_copy(void* job) {
    tasks = static_cast<__task_list*>(job);
    // Whoever started the thread has mostly stored this id already.
    if (pthread_equal(tasks->worker, pthread_self()) == 0)
        tasks->worker = pthread_self();
    dest_path = tasks->folder;
    if (!destination_is_writable())
        return 0;
    cp_st = 0;
    cp_op = OVERRIDE_NO;
    copy_run = {};
    relay_hub::sweep_temporary_files(dest_path);
    copy_all_sources();
    // Nobody waits for a cancelled copy to reach the disk.
    if (get_atomic(&tasks->state) != TASK_CANCEL)
        put_on_disk();
    copy_run = {};
    return 0;
}
