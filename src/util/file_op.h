#pragma once
// Every file operation that stays on this machine: probes, listings, the copy job and the delete job.
// Paths are byte strings of any length. Probes and listings may run on any thread, one job at a time runs
// on its worker; the counters and job globals below belong to that one job or listing.
#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <vector>

#include "util/job_state.h"

// Result of a type-and-rights probe.
struct __file_permission {
    int type = 0;  // 2 link, 3 regular file, 4 directory, 5 character device, 6 block device, 7 socket
    int readable = 0;
    int writable = 0;
    int executable = 0;
};

extern std::uint64_t Gfile_size;   // running byte total of the last listing
extern std::uint64_t Gfile_count;  // running entry count

int Gfile_file_exist(const std::string& path);
int Gfile_check_file_type(const std::string& path);
std::uint64_t Gfile_get_file_size(const std::string& path);
int Gfile_check_file_type_permission(const std::string& path, __file_permission* out);
// 1 if the folder can be opened for listing, else 0 and a diagnostic.
int Gfile_check_path_permission(const std::string& path);

// Calls callback(name, path, user_data) for each entry whose name does not begin with ".", in natural
// order of names, and adds the entries' lstat sizes to Gfile_size.
using Gfile_list_callback = void (*)(const char* name, const char* path, void* user_data);
void Gfile_all_list_pointer(const std::string& path, int recursive, Gfile_list_callback callback,
                            void* user_data);

// The text's parts between delimiter bytes, each cut at its first carriage return, in reverse order. With
// uri_flag each is a file URI made a local path; one that is no local file is left out.
std::vector<std::string> Gfile_split_string_to_list(const std::string& text, const char* delimiters,
                                                    int uri_flag);

// The jobs, run on a worker; job is the __task_list. Always 0: what failed stands in its failures.
int Gfile_local_copy(void* job);
int Gfile_local_delete(void* job);

namespace relay_hub {

// One visible entry of a local folder.
struct FolderEntry {
    std::string name;
    struct stat status {};   // of the entry itself, links not followed
    bool is_folder = false;  // links followed
    bool vanished = false;   // its lstat failed; status is empty
};

// Reads a whole folder: one pass over its names, one lstat an entry beneath the folder's descriptor, names
// that begin with "." left out, natural order. Adds nothing to the globals. Empty, with *error_number set
// (0 otherwise), when the folder cannot be opened. Any thread.
std::vector<FolderEntry> read_folder(const std::string& path, int* error_number);

}  // namespace relay_hub
