#pragma once
// The probes of local entries, and the globals of the local file operations: one job or listing at a time
// uses them. Paths are byte strings of any length. Probes may run on any thread.
#include <glib.h>

#include <cstdint>
#include <string>

#include "util/job_state.h"

// Result of a type-and-rights probe.
struct __file_permission {
    int type = 0;  // 2 link, 3 regular file, 4 directory, 5 character device, 6 block device, 7 socket
    int readable = 0;
    int writable = 0;
    int executable = 0;
};

// What a copy does with an entry.
inline constexpr int OVERRIDE_YES = 2;  // replaces the existing destination
inline constexpr int OVERRIDE_NO = 3;   // nothing is there to replace

// Listing globals.
extern GList* Gfile_list;  // of _file_info*, newest first; Gfile_release_file_info_linked_list empties it
extern std::uint64_t Gfile_size;   // running byte total of the last listing
extern std::uint64_t Gfile_count;  // running entry count
extern std::string full_path;      // scratch path of Gfile_all_file_size_count

// Job globals, the worker's own while a job runs.
extern int g_s_nMsgCode;             // errno of the last failed delete step
extern std::string g_s_cMessage;     // text of the last error that the delete job shows
extern __task_list* tasks;           // the last job that ran, borrowed from the window
extern std::string dest_path;        // destination folder of the running copy
extern int source_base_path_length;  // length of the walked source's directory part, 0 between walks
extern int cp_op;                    // OVERRIDE_YES or OVERRIDE_NO, for the current entry
extern int cp_st;                    // 1 once the user chose to replace all

// Probes. Links are not followed. 0 and -1 unless said otherwise.
int Gfile_file_exist(const std::string& path);
int Gfile_check_file_type(const std::string& path);
// 0 and a diagnostic when there is no such entry.
std::uint64_t Gfile_get_file_size(const std::string& path);
// -1 for a FIFO, for what is not there and for rights that cannot be told; out may then be partly filled.
int Gfile_check_file_type_permission(const std::string& path, __file_permission* out);
// 1 if the folder can be opened for listing, else 0 and a diagnostic.
int Gfile_check_path_permission(const std::string& path);
// 0 when the entry may be entered, else -1 and a diagnostic.
int Gfile_check_del_op(const std::string& path);

namespace relay_hub {

// Puts every global above back to its first value.
void reset_file_op_globals();

}  // namespace relay_hub
