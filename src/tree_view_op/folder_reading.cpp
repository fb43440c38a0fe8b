#include "tree_view_op/folder_reading.h"

#include <sys/statvfs.h>

namespace relay_hub {

void FolderReading::read(const std::string& path, bool with_hidden,
                         const std::function<void(std::size_t step)>& tell) {
    folder.emplace(path, with_hidden);
    struct statvfs space {};
    if (statvfs(path.c_str(), &space) == 0)
        free_bytes = std::uint64_t{space.f_bavail} * space.f_frsize;
    rows.resize(folder->size());
    tell(kNamesStep);
    LocalRowFormatter formatter;
    for (std::size_t index = 0; index < rows.size(); ++index) {
        rows[index] = formatter.row_of(folder->entry(index));
        if ((index + 1) % kRowsPerStep == 0)
            tell(step_of(index));
    }
}

}  // namespace relay_hub
