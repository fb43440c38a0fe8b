#pragma once
// Listings of local folders into a call-back or into Gfile_list, sums of sizes, and lists in text form.
// Paths are byte strings of any length. Any thread, one listing at a time.
#include <glib.h>

#include <cstdint>
#include <string>
#include <vector>

// One entry of a gathered listing.
struct _file_info {
    std::string path;       // the folder, as given
    std::string name;       // the entry's name inside it
    std::string type_text;  // the translated word for folder or file
    std::string icon;       // stock icon id
    std::uint64_t size = 0;
};

// Reads every entry of the folder and keeps nothing. 0, or -1 and a diagnostic.
int Gfile_traversal_file_tree(const std::string& path, void* arg);
// Only reads src through. 0.
int Gfile_copy_directory(const std::string& src, const std::string& dst);

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

// The same in the order of the text.
std::vector<std::string> split_in_order(const std::string& text, const char* delimiters, bool are_uris);

}  // namespace relay_hub
