#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "tree_view_op/file_list_view.h"
#include "tree_view_op/listing_turns.h"
#include "tree_view_op/local_row.h"
#include "util/file_op.h"

namespace relay_hub {
namespace {

struct FolderReading {
    std::vector<FolderEntry> entries;
    int error_number = 0;
};

void fill_rows(GtkWidget* tree_view, const std::string& folder, const std::vector<FolderEntry>& entries) {
    RowFiller filler(tree_view, entries.size());
    LocalRow row;
    constexpr RowTexts kEmptyRow{};
    for (const FolderEntry& listed : entries) {
        const FolderEntry& entry = listed.vanished ? read_entry(folder, listed.name) : listed;
        Gfile_size += static_cast<std::uint64_t>(entry.status.st_size);
        if (!filler.add(entry.vanished ? kEmptyRow.data() : row.texts(entry).data()))
            return;
    }
}

void list_folder(const std::string& folder, GtkWidget* tree_view) {
    const auto reading = std::make_shared<FolderReading>();
    ListingTurns turns(0);
    const auto read = [reading, folder] { reading->entries = read_folder(folder, &reading->error_number); };
    if (!run_beside_window(read, turns))
        return;
    if (reading->error_number != 0)
        // Fails again, and tells why in its own words.
        Gfile_all_list_pointer(folder, 0, fill_list_colmum, tree_view);
    else
        fill_rows(tree_view, folder, reading->entries);
}

}  // namespace
}  // namespace relay_hub

int once_search_and_insert_to_treeview(const std::string& folder, GtkWidget* tree_view) {
    Gfile_size = Gfile_get_file_size(folder);
    clean_tree_view(tree_view);
    if (folder != "/")
        insert_root_row(tree_view);
    relay_hub::list_folder(folder, tree_view);
    std::printf("%s total size is %lld\n", folder.c_str(), static_cast<long long>(Gfile_size));
    return 0;
}
