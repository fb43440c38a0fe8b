#include "util/copy_job.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "base/path_text.h"
#include "base/shown_text.h"
#include "base/translated_text.h"
#include "util/Zev_file_op.h"
#include "util/entry_copy.h"
#include "util/file_identity.h"
#include "util/file_op_unit.h"
#include "util/job_failures.h"
#include "util/tree_walk.h"
#include "util/user_questions.h"

namespace relay_hub {

// What one run of the job keeps beside the shared state.
class CopyRun {
  public:
    explicit CopyRun(__task_list* job) : entries(job) {}

    EntryCopy entries;
    struct stat root {};                      // of the source being walked
    std::vector<std::uint64_t> source_items;  // how many entries each source has
    std::uint64_t visited = 0;                // of the source being walked
    // Access times of the folders, by device and inode, from before the counting read them.
    std::map<std::pair<dev_t, ino_t>, timespec> folder_times;
    bool skip_all = false;
    bool only_this_entry = false;  // what stopped the last step concerns no other entry
    bool stopped_by_user = false;
};

}  // namespace relay_hub

namespace {

using relay_hub::note_failure;
using relay_hub::report;
using relay_hub::translated;
using relay_hub::WalkEntry;

constexpr int kGoOn = 0;
constexpr int kStop = -1;
constexpr int kCopyIt = 1;
constexpr int kFlagFile = 0;
constexpr int kFlagFolder = 1;
constexpr int kClosedByWindowManager = -4;

constexpr relay_hub::CopyRun*& copy_run = relay_hub::file_op_state.copy;

void show_error(const char* primary, const std::string& secondary) {
    if (relay_hub::UserQuestions* questions = relay_hub::get_user_questions())
        questions->show_error(primary, secondary);
}

relay_hub::FileFacts facts_of(const struct stat& status) {
    return {static_cast<std::uint64_t>(status.st_size), status.st_mtim, true, !S_ISDIR(status.st_mode)};
}

int ask_overwrite(const struct stat& source, const std::string& dst) {
    relay_hub::UserQuestions* questions = relay_hub::get_user_questions();
    if (questions == nullptr)
        return kClosedByWindowManager;
    relay_hub::OverwriteQuestion question{
        relay_hub::fill_translated("IDS_EXIST_FILE_NAME", {relay_hub::shown_text(dst)}) + " ?"};
    question.incoming = facts_of(source);
    struct stat target {};
    if (lstat(dst.c_str(), &target) == 0)
        question.existing = facts_of(target);
    return questions->ask_overwrite(question);
}

bool is_folder(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
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
    if (answer == kRequestSkipAll) {
        copy_run->skip_all = true;
        return act_on_answer(REQUEST_NO);
    }
    if (answer == REQUEST_CANCEL)
        std::puts("request REQUEST_CANCEL");
    else
        report({relay_hub::kFileOpUnit, "file_op_check", 1438},
               "no capture any response!\t" + std::to_string(answer));
    copy_run->stopped_by_user = true;
    return kStop;
}

int poll_job() {
    if (relay_hub::wait_while_paused(&tasks->state) != TASK_CANCEL)
        return kGoOn;
    report({relay_hub::kFileOpUnit, "tree_walk_copy", 1335}, "TASK_CANCEL");
    copy_run->stopped_by_user = true;
    return kStop;
}

std::string destination_of(const std::string& path) {
    const std::size_t base = std::min(static_cast<std::size_t>(source_base_path_length), path.size());
    return relay_hub::join_local_path(dest_path, path.substr(base));
}

// Tells of an entry that nothing else depends on.
int refuse(const std::string& src, const std::string& reason) {
    note_failure(tasks, FILE_OP_HERE, src, reason, {src, destination_of(src)});
    copy_run->only_this_entry = true;
    return kStop;
}

// In the words of a walk that follows links.
int flag_of(const WalkEntry& entry) {
    if (entry.flag != FTW_SL)
        return entry.flag;
    struct stat target {};
    return stat(entry.path.c_str(), &target) == 0 && S_ISDIR(target.st_mode) ? kFlagFolder : kFlagFile;
}

int copy_walked_entry(const WalkEntry& entry) {
    const bool unreadable = entry.flag == FTW_DNR && (entry.broken_off || entry.error_number != EACCES);
    if (unreadable)
        return refuse(entry.path, relay_hub::error_text(entry.error_number));
    // Reached once more through a mount.
    if (entry.flag == FTW_D && copy_run->entries.fills(entry.status))
        return refuse(entry.path, translated("IDS_REASON_INTO_ITSELF"));
    struct stat status = entry.status;
    if (const auto known = copy_run->folder_times.find({status.st_dev, status.st_ino});
        known != copy_run->folder_times.end())
        status.st_atim = known->second;
    return do_copy_callback(entry.path.c_str(), &status, flag_of(entry));
}

int walk_step(const WalkEntry& entry) {
    copy_run->only_this_entry = false;
    int result = kStop;
    try {
        result = copy_walked_entry(entry);
    } catch (const std::exception&) {
        relay_hub::report_error(FILE_OP_HERE, ENOMEM, entry.path);
    }
    if (!entry.broken_off) {
        ++copy_run->visited;
        const bool has_bytes = S_ISREG(entry.status.st_mode);
        tasks->counters.finish_item(has_bytes ? static_cast<std::uint64_t>(entry.status.st_size) : 0);
    }
    return result == kStop && copy_run->only_this_entry ? FTW_SKIP_SUBTREE : result;
}

// A folder is never copied into itself: its copy would be part of what is copied, without end.
bool copies_into_itself(const std::string& source) {
    struct stat status {};
    if (lstat(source.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return false;
    copy_run->root = status;
    const std::string target = destination_of(source);
    struct stat there {};
    return relay_hub::lies_within(relay_hub::parent_path(target), status) ||
           (lstat(target.c_str(), &there) == 0 && relay_hub::is_same_entry(there, status));
}

// The source by a path that ends in its name: what ends in ".", ".." is resolved. Nothing when it has none,
// or is not there.
std::optional<std::string> named_path(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    const std::string name = path.substr(path.rfind('/') + 1);
    if (name != "." && name != ".." && !name.empty())
        return path;
    const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr), std::free);
    if (resolved == nullptr || std::string_view(resolved.get()) == "/")
        return std::nullopt;
    return resolved.get();
}

// Reports a source whose walk ended before its end.
void report_unfinished(const std::string& source, std::uint64_t items) {
    const std::uint64_t left = items - std::min(items, copy_run->visited);
    if (!copy_run->stopped_by_user && left > 0)
        note_failure(tasks, FILE_OP_HERE, source,
                     relay_hub::fill_translated("IDS_REASON_STOPPED_EARLY", {std::to_string(left)}),
                     {source, destination_of(source)});
}

// False when the whole job ends.
bool copy_source(const std::string& source, std::uint64_t items) {
    source_base_path_length = static_cast<int>(relay_hub::parent_path(source).size());
    copy_run->root = {};
    copy_run->visited = 0;
    int result = kGoOn;
    if (copies_into_itself(source)) {
        note_failure(tasks, FILE_OP_HERE, source, translated("IDS_REASON_INTO_ITSELF"));
    } else {
        result = relay_hub::walk_tree(source, walk_step);
        if (result != kGoOn)
            report_unfinished(source, items);
        copy_run->entries.finish_folders();
    }
    source_base_path_length = 0;
    return result == kGoOn;
}

const std::string& folder_of_item(std::size_t index) {
    return index < tasks->item_folders.size() ? tasks->item_folders[index] : tasks->folder;
}

void note_untried(std::size_t first) {
    for (std::size_t index = first; index < tasks->items.size(); ++index) {
        const std::string& source = tasks->items[index];
        const std::string name = source.substr(source.rfind('/') + 1);
        note_failure(tasks, FILE_OP_HERE, source, ECANCELED,
                     {source, relay_hub::join_local_path(folder_of_item(index), name)});
    }
}

void copy_all_sources() {
    for (std::size_t index = 0; index < tasks->items.size(); ++index) {
        if (poll_job() != kGoOn)
            return;
        dest_path = folder_of_item(index);
        const std::optional<std::string> source = named_path(tasks->items[index]);
        if (!source) {
            note_failure(tasks, FILE_OP_HERE, tasks->items[index], translated("IDS_REASON_NO_NAME"));
            continue;
        }
        if (copy_source(*source, copy_run->source_items[index]))
            continue;
        if (!copy_run->stopped_by_user)
            note_untried(index + 1);
        return;
    }
}

// Counts what the job will go through, for its progress. Ends early on a cancel.
void count_sources() {
    std::uint64_t items = 0;
    std::uint64_t bytes = 0;
    const auto count = [&](const WalkEntry& entry) {
        if (entry.broken_off)
            return kGoOn;
        ++items;
        if (S_ISDIR(entry.status.st_mode))
            copy_run->folder_times.try_emplace({entry.status.st_dev, entry.status.st_ino},
                                               entry.status.st_atim);
        bytes += S_ISREG(entry.status.st_mode) ? static_cast<std::uint64_t>(entry.status.st_size) : 0;
        return get_atomic(&tasks->state) == TASK_CANCEL ? kStop : kGoOn;
    };
    for (const std::string& item : tasks->items) {
        const std::uint64_t before = items;
        const std::optional<std::string> source = named_path(item);
        if (source)
            (void)relay_hub::walk_tree(*source, count);
        copy_run->source_items.push_back(items - before);
    }
    tasks->counters.set_totals(items, bytes);
}

bool destination_is_writable() {
    __file_permission permission;
    if (Gfile_check_file_type_permission(dest_path, &permission) != 0) {
        const int probe_error = errno;
        report({relay_hub::kFileOpUnit, "Gfile_local_copy", 992},
               "can't get [" + std::string(dest_path) + "] file permission!");
        note_failure(tasks, FILE_OP_HERE, dest_path, probe_error);
        return false;
    }
    if (permission.writable == 1)
        return true;
    show_error(translated("IDS_ERROR_DISPLAY"), "");
    return false;
}

}  // namespace

int file_op_check(const std::string& src, const std::string& dst, const struct stat* /*status*/) {
    struct stat source {};
    if (lstat(src.c_str(), &source) != 0) {
        const int lstat_error = errno;
        report(FILE_OP_LINE(1362), "file/dir not exist!");
        return refuse(src, relay_hub::error_text(lstat_error));
    }
    const bool link = S_ISLNK(source.st_mode);
    const bool special = !link && !S_ISREG(source.st_mode) && !S_ISDIR(source.st_mode);
    // A link is made anew from its text; whether its target is there or may be read does not matter.
    __file_permission permission;
    permission.readable = 1;
    if (!link && Gfile_check_file_type_permission(src, &permission) != 0) {
        const int probe_error = errno;
        report(FILE_OP_LINE(1372), "can't get file permission!");
        return refuse(src,
                      special ? translated("IDS_REASON_SPECIAL_FILE") : relay_hub::error_text(probe_error));
    }
    if (special)
        return refuse(src, translated("IDS_REASON_SPECIAL_FILE"));
    if (permission.readable == 0) {
        note_failure(tasks, FILE_OP_HERE, src, EACCES, {src, dst});
        tasks->failures.back().shown = relay_hub::get_user_questions() != nullptr;
        show_error(translated("IDS_MSG_TITLE_ERROR"), std::string(translated("IDS_ERROR_DISPLAY")) + "\n" +
                                                          translated("IDS_ERROR_NO_PERMISSION"));
        return kGoOn;
    }
    if (Gfile_file_exist(dst) != 0) {
        cp_op = OVERRIDE_NO;
        return kCopyIt;
    }
    if (relay_hub::replaces_its_source(src, source, dst)) {
        note_failure(tasks, FILE_OP_HERE, src, translated("IDS_REASON_ONTO_ITSELF"));
        return S_ISDIR(source.st_mode) ? FTW_SKIP_SUBTREE : kGoOn;
    }
    if (cp_st == 1) {
        cp_op = OVERRIDE_YES;
        return kCopyIt;
    }
    const int result = act_on_answer(copy_run->skip_all ? REQUEST_NO : ask_overwrite(source, dst));
    if (result != kCopyIt)
        tasks->refused.push_back(src);
    // Nothing of a folder goes into what is none, or through a link that was to be left alone.
    const bool leaves_all = result == kGoOn && S_ISDIR(source.st_mode) && !is_folder(dst);
    return leaves_all ? FTW_SKIP_SUBTREE : result;
}

int tree_walk_copy(const std::string& src, const struct stat* status, int flag, const std::string& dst) {
    const bool link = S_ISLNK(status->st_mode);
    const bool replace = cp_op == OVERRIDE_YES;
    relay_hub::EntryCopy& entries = copy_run->entries;
    int result = kGoOn;
    switch (flag) {
        case kFlagFile:
        case kFlagFolder:
            if (link)
                entries.copy_link(src, *status, dst, replace, flag == kFlagFolder);
            else if (flag == kFlagFile)
                entries.copy_file(src, dst, replace);
            else if (replace)
                result = entries.merge_folder(src, *status, dst, copy_run->root) ? kGoOn : FTW_SKIP_SUBTREE;
            else
                result = entries.make_folder(src, *status, dst) ? kGoOn : kStop;
            break;
        case FTW_DNR:
            std::printf("%s can't read this directory\n", src.c_str());
            note_failure(tasks, FILE_OP_HERE, src, EACCES, {src, dst});
            break;
        case FTW_NS:
            std::printf("%s is permission death\n", src.c_str());
            note_failure(tasks, FILE_OP_HERE, src, EACCES, {src, dst});
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
    // The starter of the thread has mostly stored this id already.
    if (pthread_equal(tasks->worker, pthread_self()) == 0)
        tasks->worker = pthread_self();
    dest_path = tasks->folder;
    if (!destination_is_writable())
        return 0;
    cp_st = 0;
    cp_op = OVERRIDE_NO;
    relay_hub::CopyRun run(tasks);
    copy_run = &run;
    count_sources();
    relay_hub::sweep_folder(dest_path);
    copy_all_sources();
    // Nobody waits for a cancelled copy to reach the disk.
    if (get_atomic(&tasks->state) != TASK_CANCEL)
        copy_run->entries.put_on_disk();
    tasks->went_through_all = !copy_run->stopped_by_user;
    copy_run = nullptr;
    return 0;
}
