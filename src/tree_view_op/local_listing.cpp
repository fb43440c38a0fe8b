#include "tree_view_op/local_listing.h"

#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "tree_view_op/Zev_list_view.h"
#include "tree_view_op/folder_reading.h"
#include "tree_view_op/list_summary.h"
#include "tree_view_op/listing_turns.h"
#include "tree_view_op/local_row.h"
#include "tree_view_op/row_filler.h"
#include "util/Zev_file_op.h"
#include "util/folder_listing.h"

namespace relay_hub {
namespace {

class LocalListing {
  public:
    LocalListing(const std::string& folder, GtkWidget* tree_view)
        : folder_(folder),
          tree_view_(tree_view),
          beside_([reading = reading_, folder, with_hidden = hidden_files_are_shown(tree_view)](
                      const WorkBesideWindow::Tell& tell) { reading->read(folder, with_hidden, tell); }) {}

    void fill() {
        ListingTurns turns(0);
        if (!beside_.wait_for(FolderReading::kNamesStep, turns))
            return;
        set_free_space(tree_view_, reading_->free_bytes);
        if (!reading_->folder || reading_->folder->error_number() != 0)
            // Fails again, and tells why in its own words.
            Gfile_all_list_pointer(folder_, 0, fill_list_colmum, tree_view_);
        else
            fill_rows(turns);
    }

  private:
    void fill_rows(ListingTurns& turns) {
        RowFiller filler(tree_view_, reading_->folder->size());
        for (std::size_t block = 0; block < reading_->blocks.size(); ++block) {
            if (!beside_.wait_for(FolderReading::step_of(block), turns))
                return;
            const std::vector<LocalRow> rows = std::move(reading_->blocks[block]);
            if (rows.empty())
                return;  // the reading ended early, and has reported it
            for (const LocalRow& row : rows)
                if (!add_row(filler, row))
                    return;
        }
        std::move(sizes_).give_to(tree_view_);
    }

    bool add_row(RowFiller& filler, const LocalRow& row) {
        if (row.vanished)
            return add_row_again(filler, row.name);
        Gfile_size += row.size;
        if (!row.is_folder)
            sizes_.add(row.name, row.size);
        return filler.add(row.texts().data());
    }

    // Fails again, and tells why in its own words; or it is back.
    bool add_row_again(RowFiller& filler, const std::string& name) {
        const LocalRow row = LocalRowFormatter().row_of(read_entry(folder_, name));
        Gfile_size += row.size;
        return filler.add(row.texts().data());
    }

    std::string folder_;
    GtkWidget* tree_view_;
    ListedSizes sizes_;
    std::shared_ptr<FolderReading> reading_ = std::make_shared<FolderReading>();
    WorkBesideWindow beside_;
};

constexpr char kHiddenShown[] = "relay-hub-hidden-shown";

}  // namespace

void show_hidden_files(GtkWidget* tree_view, bool shown) {
    g_object_set_data(G_OBJECT(tree_view), kHiddenShown, GINT_TO_POINTER(shown ? 1 : 0));
}

bool hidden_files_are_shown(GtkWidget* tree_view) {
    return g_object_get_data(G_OBJECT(tree_view), kHiddenShown) != nullptr;
}

}  // namespace relay_hub

int once_search_and_insert_to_treeview(const std::string& folder, GtkWidget* tree_view) {
    Gfile_size = Gfile_get_file_size(folder);
    clean_tree_view(tree_view);
    if (folder != "/")
        insert_root_row(tree_view);
    relay_hub::LocalListing(folder, tree_view).fill();
    std::printf("%s total size is %lld\n", folder.c_str(), static_cast<long long>(Gfile_size));
    return 0;
}
