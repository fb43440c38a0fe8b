#include "util/folder_listing.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "base/folder_handle.h"
#include "base/glib_owners.h"
#include "base/path_text.h"
#include "base/translated_text.h"
#include "util/Zev_file_op.h"
#include "util/file_op_unit.h"
#include "util/sorted_folder.h"

namespace relay_hub {
namespace {

// What GLib would say of a folder that did not open.
GErrorPtr listing_error(const std::string& path, int error_number) {
    const GText shown(g_filename_display_name(path.c_str()));
    return GErrorPtr(g_error_new(G_FILE_ERROR, g_file_error_from_errno(error_number),
                                 "Error opening directory “%s”: %s", shown.get(), g_strerror(error_number)));
}

void tell_unlistable(const CallSite& site, const GError& error) {
    if (error.code == G_FILE_ERROR_ACCES)
        report(site, "G_FILE_ERROR_ACCES");
    std::printf("code:[%d]\tmessage:[%s]\n", error.code, error.message);
}

// Links to folders are not entered: a link to a folder above would never end.
bool is_real_folder(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

}  // namespace relay_hub

void Gfile_all_list_pointer(const std::string& path, int recursive, Gfile_list_callback callback,
                            void* user_data) {
    relay_hub::SortedFolder folder(path);
    if (folder.error_number() != 0) {
        relay_hub::tell_unlistable(FILE_OP_LINE(255), *relay_hub::listing_error(path, folder.error_number()));
        return;
    }
    for (std::size_t index = 0; index < folder.size(); ++index) {
        const relay_hub::FolderEntry entry = folder.entry(index);
        const std::string entry_path = relay_hub::join_local_path(path, entry.name);
        if (recursive != 0 && S_ISDIR(entry.status.st_mode))
            Gfile_all_list(entry_path, recursive);
        callback(entry.name.c_str(), path.c_str(), user_data);
        Gfile_size += entry.vanished ? Gfile_get_file_size(entry_path)
                                     : static_cast<std::uint64_t>(entry.status.st_size);
    }
}

void Gfile_all_list(const std::string& path, int recursive) {
    GError* raw_error = nullptr;
    const relay_hub::GDirPtr dir(g_dir_open(path.c_str(), 0, &raw_error));
    const relay_hub::GErrorPtr error(raw_error);
    if (!dir) {
        relay_hub::tell_unlistable(FILE_OP_LINE(192), *error);
        return;
    }
    while (const char* name = g_dir_read_name(dir.get())) {
        const std::string entry_path = relay_hub::join_local_path(path, name);
        if (recursive == 1 && relay_hub::is_real_folder(entry_path))
            Gfile_all_list(entry_path, recursive);
        Gfile_list = Gfile_new_file_info_linked_list(name, path);
        Gfile_size += static_cast<const _file_info*>(Gfile_list->data)->size;
    }
}

void Gfile_all_file_size_count(const std::string& path) {
    GError* raw_error = nullptr;
    const relay_hub::GDirPtr dir(g_dir_open(path.c_str(), 0, &raw_error));
    const relay_hub::GErrorPtr error(raw_error);
    if (!dir) {
        std::printf("code:%d\tmessage:%s\n", error->code, error->message);
        return;
    }
    while (const char* name = g_dir_read_name(dir.get())) {
        full_path = relay_hub::join_local_path(path, name);
        if (relay_hub::is_real_folder(full_path))
            Gfile_all_file_size_count(std::string(full_path));
        Gfile_size += Gfile_get_file_size(full_path);
        ++Gfile_count;
    }
}

_file_info* Gfile_new_file_info(const std::string& name, const std::string& path) {
    auto info = std::make_unique<_file_info>();
    info->path = path;
    info->name = name;
    Gfile_file_stat(info.get());
    return info.release();
}

GList* Gfile_new_file_info_linked_list(const std::string& name, const std::string& path) {
    return g_list_prepend(Gfile_list, Gfile_new_file_info(name, path));
}

void Gfile_file_stat(_file_info* info) {
    const std::string path = relay_hub::join_local_path(info->path, info->name);
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        relay_hub::report_error(FILE_OP_LINE(342), errno);
        return;
    }
    const bool folder = g_file_test(path.c_str(), G_FILE_TEST_IS_DIR) != FALSE;
    info->type_text = relay_hub::translated(folder ? "IDS_FH_FOLDER" : "IDS_FH_FILE");
    info->icon = folder ? "gtk-directory" : "gtk-file";
    info->size = static_cast<std::uint64_t>(status.st_size);
}

void Gfile_release_file_info(void* info, void* /*ignored*/) {
    const std::unique_ptr<_file_info> owned(static_cast<_file_info*>(info));
}

void Gfile_release_file_info_linked_list() {
    std::puts(__func__);
    g_list_foreach(Gfile_list, Gfile_release_file_info, nullptr);
    g_list_free(Gfile_list);
    Gfile_list = nullptr;
}

void Gfile_show_file(const _file_info* info) {
    std::printf("%s/%s\tsize:%llu  ", info->path.c_str(), info->name.c_str(),
                static_cast<unsigned long long>(info->size));
    std::printf("type:%s\n", info->type_text.c_str());
}

void Gfile_show_linked_list() {
    for (const GList* link = Gfile_list; link != nullptr; link = link->next)
        Gfile_show_file(static_cast<const _file_info*>(link->data));
}

std::vector<std::string> Gfile_split_string_to_list(const std::string& text, const char* delimiters,
                                                    int uri_flag) {
    const std::vector<std::string> parts = relay_hub::split_in_order(text, delimiters, uri_flag != 0);
    return {parts.rbegin(), parts.rend()};
}

std::vector<std::string> relay_hub::split_in_order(const std::string& text, const char* delimiters,
                                                   bool are_uris) {
    std::vector<std::string> parts;
    const char* remaining = text.c_str();
    while (*(remaining += std::strspn(remaining, delimiters)) != '\0') {
        std::string part(remaining, std::strcspn(remaining, delimiters));
        remaining += part.size();
        part.resize(std::min(part.size(), part.find('\r')));
        if (!are_uris) {
            parts.push_back(std::move(part));
        } else if (const auto path = relay_hub::local_path_of_uri(part)) {
            parts.push_back(*path);
        } else {
            relay_hub::report(FILE_OP_HERE, "no file of this machine:", part);
        }
    }
    return parts;
}

int Gfile_traversal_file_tree(const std::string& path, void* /*arg*/) {
    const relay_hub::FolderHandle dir = relay_hub::open_folder(path);
    if (!dir) {
        relay_hub::report_error(FILE_OP_LINE(728), errno);
        return -1;
    }
    while (readdir(dir.get()) != nullptr) {
    }
    return 0;
}

int Gfile_copy_directory(const std::string& src, const std::string& /*dst*/) {
    (void)Gfile_traversal_file_tree(src, nullptr);
    return 0;
}
