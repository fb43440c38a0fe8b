#include "tree_view_op/folder_reading.h"

#include <sys/statvfs.h>

#include <utility>

namespace relay_hub {

void FolderReading::read(const std::string& path, bool with_hidden,
                         const std::function<void(std::size_t step)>& tell) {
    folder.emplace(path, with_hidden);
    struct statvfs space {};
    if (statvfs(path.c_str(), &space) == 0)
        free_bytes = std::uint64_t{space.f_bavail} * space.f_frsize;
    blocks.resize((folder->size() + kRowsPerStep - 1) / kRowsPerStep);
    tell(kNamesStep);
    LocalRowFormatter formatter;
    for (std::size_t block = 0, index = 0; block < blocks.size(); ++block) {
        std::vector<LocalRow> rows;
        rows.reserve(kRowsPerStep);
        for (; index < folder->size() && rows.size() < kRowsPerStep; ++index)
            rows.push_back(formatter.row_of(folder->entry(index)));
        blocks[block] = std::move(rows);
        tell(step_of(block));
    }
}

}  // namespace relay_hub
