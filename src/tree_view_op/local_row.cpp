#include "tree_view_op/local_row.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "util/path_time_text.h"
#include "util/translated_text.h"

namespace relay_hub {

FolderEntry read_entry(const std::string& folder, const std::string& name) {
    const std::string path = folder + "/" + name;
    FolderEntry entry;
    entry.name = name;
    if (lstat(path.c_str(), &entry.status) != 0) {
        const int error_number = errno;
        std::printf("error code:%d\t", error_number);
        errno = error_number;
        std::perror("Gfile_file_stat");
        entry.vanished = true;
        return entry;
    }
    struct stat target {};
    entry.is_folder = stat(path.c_str(), &target) == 0 && S_ISDIR(target.st_mode);
    return entry;
}

LocalRow::LocalRow() : folder_word_(translated("IDS_FH_FOLDER")), file_word_(translated("IDS_FH_FILE")) {}

const char* LocalRow::TimeText::of(std::time_t time) {
    if (filled && time == seconds)
        return text;
    std::tm local{};
    localtime_r(&time, &local);
    if (std::strftime(text, sizeof text, "%Y-%m-%d %T", &local) == 0)
        text[0] = '\0';
    seconds = time;
    filled = true;
    return text;
}

const RowTexts& LocalRow::texts(const FolderEntry& entry) {
    size_ = size_for_display(static_cast<std::uint64_t>(entry.status.st_size));
    row_ = {entry.is_folder ? "gtk-directory" : "gtk-file",
            entry.name.c_str(),
            size_.c_str(),
            entry.is_folder ? folder_word_ : file_word_,
            modified_.of(entry.status.st_mtime),
            accessed_.of(entry.status.st_atime),
            "",
            entry.is_folder ? kKindFolder : kKindFile,
            "",
            "",
            ""};
    return row_;
}

}  // namespace relay_hub
