#pragma once
// The local delete job. On the job's worker, one job at a time.
#include <ftw.h>
#include <sys/stat.h>

// job is the __task_list. Always 0: what failed stands in its failures.
int Gfile_local_delete(void* job);
// Removes an entry met by a depth-first walk (flag 5: a folder after its content).
int do_delete_callback(const char* path, const struct stat* status, int flag, struct FTW* place);
