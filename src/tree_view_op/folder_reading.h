#pragma once
// A local folder as its list shows it, read beside the window: no widget is touched.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tree_view_op/local_row.h"
#include "util/sorted_folder.h"

namespace relay_hub {

// Belongs to the worker, except for the steps that it has reported as done.
struct FolderReading {
    static constexpr std::size_t kNamesStep = 1;
    static constexpr std::size_t kRowsPerStep = 512;

    void read(const std::string& path, bool with_hidden, const std::function<void(std::size_t step)>& tell);
    // The step that makes this block of rows.
    static std::size_t step_of(std::size_t block) { return kNamesStep + 1 + block; }

    std::optional<SortedFolder> folder;
    std::vector<std::vector<LocalRow>> blocks;  // of rows, each to be freed when it is filled
    std::optional<std::uint64_t> free_bytes;
};

}  // namespace relay_hub
