#pragma once
// The user's trash folder: "Trash/" under the home directory, one folder an entry and an info file beside it.
#include <string>
#include <vector>

#include "util/job_state.h"

// Fills out_name with a fresh name, a dot and eight characters.
void GenTrashName(std::string& out_name, unsigned long salt);

// Moves each path into the trash. False, with errno set, when an info file could not be created; entries
// that could not be moved stay where they are, are appended to failures (when given) and do not end the run.
// A job state (when given) that becomes 3 ends the run, and a move under way with it; that entry stays.
bool DeleteDirectory(const std::vector<std::string>& paths, std::vector<__task_failure>* failures,
                     volatile int* job_state = nullptr);
