#include "tree_view_op/local_row.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "base/size_text.h"
#include "base/translated_text.h"
#include "util/folder_listing.h"

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

RowTexts LocalRow::texts() const {
    if (vanished)
        return {};
    return {is_folder ? "gtk-directory" : "gtk-file",
            name.c_str(),
            size_text.c_str(),
            type_word,
            modified.data(),
            accessed.data(),
            "",
            is_folder ? kKindFolder : kKindFile,
            "",
            "",
            ""};
}

const TimeText& LocalRowFormatter::LastTime::of(std::time_t time) {
    if (text[0] != '\0' && time == seconds)
        return text;
    std::tm local{};
    localtime_r(&time, &local);
    if (std::strftime(text.data(), text.size(), "%Y-%m-%d %T", &local) == 0)
        text[0] = '\0';
    seconds = time;
    return text;
}

// Asking the catalogue for each row would take longer than all else in it.
LocalRowFormatter::LocalRowFormatter()
    : folder_word_(translated("IDS_FH_FOLDER")), file_word_(translated("IDS_FH_FILE")) {}

LocalRow LocalRowFormatter::row_of(FolderEntry entry) {
    LocalRow row;
    row.name = std::move(entry.name);
    row.vanished = entry.vanished;
    if (entry.vanished)
        return row;
    row.size = static_cast<std::uint64_t>(entry.status.st_size);
    row.size_text = size_text(row.size);
    row.modified = modified_.of(entry.status.st_mtime);
    row.accessed = accessed_.of(entry.status.st_atime);
    row.is_folder = entry.is_folder;
    row.type_word = entry.is_folder ? folder_word_ : file_word_;
    return row;
}

}  // namespace relay_hub
