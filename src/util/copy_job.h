#pragma once
// The local copy job and the steps of its walk. On the job's worker, one job at a time.
#include <sys/stat.h>

#include <string>

#include "util/job_state.h"

// job is the __task_list. Always 0: what failed stands in its failures.
int Gfile_local_copy(void* job);

// Steps of the copy job, called by its walk. flag: 0 file, 1 folder (each also for a link to one), 2
// unreadable folder, 3 no record, 4 other link. 0 goes on, -1 ends the walk, FTW_SKIP_SUBTREE goes on
// without the folder's content; file_op_check gives 1 for an entry to copy.
int do_copy_callback(const char* path, const struct stat* status, int flag);
int file_op_check(const std::string& src, const std::string& dst, const struct stat* status);
int tree_walk_copy(const std::string& src, const struct stat* status, int flag, const std::string& dst);
