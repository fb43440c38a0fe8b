#pragma once
// Brings a local list up to date row by row. Rows that stay are left alone, and with them the selection, the
// cursor and what is in view. Window's thread, but for ListNow::read.
#include <gtk/gtk.h>

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/glib_owners.h"
#include "base/non_copyable.h"
#include "tree_view_op/folder_reading.h"
#include "tree_view_op/icon_sort.h"
#include "tree_view_op/list_summary.h"

namespace relay_hub {

// What a list shows, and in which order.
struct ListView {
    std::string folder;
    bool with_hidden = false;
    SortState sort;
    bool operator==(const ListView&) const = default;
};
ListView list_view_of(GtkWidget* tree_view, const std::string& folder);

// The rows that such a list should have now.
class ListNow {
  public:
    // Any thread. Null for a folder that cannot be read.
    static std::shared_ptr<ListNow> read(const ListView& view);

  private:
    friend class ListUpdate;
    void put_in_order(const ListView& view);

    FolderReading reading_;
    std::vector<const LocalRow*> rows_;  // in the list's order; null for the row of the parent folder
    std::unordered_map<std::string_view, std::size_t> places_;
    ListedSizes sizes_;
};

class ListUpdate : NonCopyable {
  public:
    enum class Result { kMore, kDone, kOutdated };

    ListUpdate(GtkWidget* tree_view, std::shared_ptr<ListNow> now);
    ~ListUpdate();

    // Goes on for a few milliseconds. Outdated: somebody else has changed the list's rows or their order.
    Result go_on();

  private:
    static void on_row(GtkTreeModel* model, GtkTreePath* path, gpointer self);
    static void on_new_row(GtkTreeModel* model, GtkTreePath* path, GtkTreeIter* iter, gpointer self);
    void step();
    [[nodiscard]] bool is_done() const { return !more_ && next_ == now_->rows_.size(); }

    GtkWidget* tree_view_;
    GObjectPtr<GtkListStore> store_;
    std::shared_ptr<ListNow> now_;
    SortState sort_;
    GtkTreeIter iter_{};    // the row to look at
    bool more_ = false;     // iter_ is one
    int position_ = 0;      // its place
    std::size_t next_ = 0;  // of now_: the first that has no row yet
    bool own_change_ = false;
    bool outdated_ = false;
};

}  // namespace relay_hub
