#pragma once
// Every file operation that stays on this machine: probes, listings, the copy job and the delete job.
// Paths are byte strings of any length. Probes and listings may run on any thread, one job at a time runs
// on its worker; the counters and job globals below belong to that one job or listing.
#include <ftw.h>
#include <glib.h>
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

// One entry of a gathered listing.
struct _file_info {
    std::string path;       // the folder, as given
    std::string name;       // the entry's name inside it
    std::string type_text;  // the translated word for folder or file
    std::string icon;       // stock icon id
    std::uint64_t size = 0;
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

// Attributes from src's own record onto what dst leads to. 0, or -1 with errno set and a diagnostic.
int duplicate_file_mode(const std::string& src, const std::string& dst);
int duplicate_file_owner(const std::string& src, const std::string& dst);
int duplicate_file_access_time(const std::string& src, const std::string& dst);
int duplicate_file_modify_time(const std::string& src, const std::string& dst);

// Copies the bytes of src (no link) into a new file dst and syncs it. The cancel test runs before each
// write; 0 from it ends the copy with success and what was written so far. A null test never cancels. 0, or
// -1 with errno set, a diagnostic, and no dst made by this call left behind.
using Gfile_cancel_test = int (*)(void* argument);
int Gfile_copy_file(const std::string& src, const std::string& dst, Gfile_cancel_test cancel_fn,
                    void* cancel_arg);
// Copies src with mode and owner into a new file dst and syncs it. 0, or -1 and a diagnostic.
int low_copy_file(const char* src, const char* dst);
// Reads every entry of the folder and keeps nothing. 0, or -1 and a diagnostic.
int Gfile_traversal_file_tree(const std::string& path, void* arg);
// Only reads src through. 0.
int Gfile_copy_directory(const std::string& src, const std::string& dst);

// The jobs, run on a worker; job is the __task_list. Always 0: what failed stands in its failures.
int Gfile_local_copy(void* job);
int Gfile_local_delete(void* job);

// Steps of the copy job, called by its walk. flag: 0 file, 1 folder (each also for a link to one), 2
// unreadable folder, 3 no record, 4 other link. 0 goes on, -1 ends the walk, FTW_SKIP_SUBTREE goes on
// without the folder's content; file_op_check gives 1 for an entry to copy.
int do_copy_callback(const char* path, const struct stat* status, int flag);
int file_op_check(const std::string& src, const std::string& dst, const struct stat* status);
int tree_walk_copy(const std::string& src, const struct stat* status, int flag, const std::string& dst);
// Removes an entry met by a depth-first walk (flag 5: a folder after its content).
int do_delete_callback(const char* path, const struct stat* status, int flag, struct FTW* place);
// 0 when the job (a __task_list) was cancelled, else -1.
int check_cancel(void* job);

// Calls callback(name, path, user_data) for each entry whose name does not begin with ".", in natural
// order of names, and adds the entries' lstat sizes to Gfile_size. With recursive set, folders (not links to
// them) are gathered by Gfile_all_list first.
using Gfile_list_callback = void (*)(const char* name, const char* path, void* user_data);
void Gfile_all_list_pointer(const std::string& path, int recursive, Gfile_list_callback callback,
                            void* user_data);
// Gathers every entry, hidden ones too, into Gfile_list and adds the sizes to Gfile_size.
void Gfile_all_list(const std::string& path, int recursive);
// Adds sizes and number of all entries below path to Gfile_size and Gfile_count. After a subfolder the size
// taken is that of the entry seen last in it.
void Gfile_all_file_size_count(const std::string& path);

// A filled record, freed by Gfile_release_file_info.
_file_info* Gfile_new_file_info(const std::string& name, const std::string& path);
// Gfile_list with such a record before it; the caller stores the result back.
GList* Gfile_new_file_info_linked_list(const std::string& name, const std::string& path);
// Fills type_text, icon (links followed) and size (not followed); all stay empty when there is no entry.
void Gfile_file_stat(_file_info* info);
void Gfile_release_file_info(void* info, void* ignored);
void Gfile_release_file_info_linked_list();
void Gfile_show_file(const _file_info* info);
void Gfile_show_linked_list();

// The text's parts between delimiter bytes, each cut at its first carriage return, in reverse order. With
// uri_flag each is a file URI made a local path; one that is no local file is left out.
std::vector<std::string> Gfile_split_string_to_list(const std::string& text, const char* delimiters,
                                                    int uri_flag);

namespace relay_hub {

// One visible entry of a local folder.
struct FolderEntry {
    std::string name;
    struct stat status {};   // of the entry itself, links not followed
    bool is_folder = false;  // links followed
    bool vanished = false;   // its lstat failed; status is empty
};

// The text of the box that ends a job in which entries failed: how many, then the first names with their
// reasons. Any thread.
std::string failure_summary(const std::vector<__task_failure>& failures);

// Puts every global above back to its first value.
void reset_file_op_globals();

}  // namespace relay_hub
