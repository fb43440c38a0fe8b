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

namespace relay_hub {

class CopyRun;

// The state of the local file operations; its members are known by the fixed names below.
struct FileOpState {
    // Of listings.
    GList* entries = nullptr;  // of _file_info*, newest first; Gfile_release_file_info_linked_list empties it
    std::uint64_t total_size = 0;  // running byte total of the last listing
    std::uint64_t count = 0;       // running entry count
    std::string scratch_path;      // of Gfile_all_file_size_count

    // Of jobs, the worker's own while a job runs.
    int error_number = 0;          // of the last failed delete step
    std::string error_message;     // of the last error that the delete job shows
    __task_list* job = nullptr;    // the last one that ran, borrowed from the window
    std::string destination;       // folder of the running copy
    int source_parent_length = 0;  // of the walked source's directory part, 0 between walks
    int operation = OVERRIDE_NO;   // OVERRIDE_YES or OVERRIDE_NO, for the current entry
    int replaces_all = 0;          // 1 once the user chose to replace all
    CopyRun* copy = nullptr;       // what else the running copy keeps
};
extern FileOpState file_op_state;

}  // namespace relay_hub

inline constexpr GList*& Gfile_list = relay_hub::file_op_state.entries;
inline constexpr std::uint64_t& Gfile_size = relay_hub::file_op_state.total_size;
inline constexpr std::uint64_t& Gfile_count = relay_hub::file_op_state.count;
inline constexpr std::string& full_path = relay_hub::file_op_state.scratch_path;
inline constexpr int& g_s_nMsgCode = relay_hub::file_op_state.error_number;
inline constexpr std::string& g_s_cMessage = relay_hub::file_op_state.error_message;
inline constexpr __task_list*& tasks = relay_hub::file_op_state.job;
inline constexpr std::string& dest_path = relay_hub::file_op_state.destination;
inline constexpr int& source_base_path_length = relay_hub::file_op_state.source_parent_length;
inline constexpr int& cp_op = relay_hub::file_op_state.operation;
inline constexpr int& cp_st = relay_hub::file_op_state.replaces_all;

// 0 when the job (a __task_list) was cancelled, else -1.
int check_cancel(void* job);

// Probes. Links are not followed. 0 and -1 unless said otherwise.
int Gfile_file_exist(const std::string& path);
int Gfile_check_file_type(const std::string& path);
// 0 and a diagnostic when there is no such entry.
std::uint64_t Gfile_get_file_size(const std::string& path);
// -1 for a FIFO, for what is not there and for rights that cannot be determined; out may then be partly
// filled.
int Gfile_check_file_type_permission(const std::string& path, __file_permission* out);
// 1 if the folder can be opened for listing, else 0 and a diagnostic.
int Gfile_check_path_permission(const std::string& path);
// 0 when the entry may be entered, else -1 and a diagnostic.
int Gfile_check_del_op(const std::string& path);
