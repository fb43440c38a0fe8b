#pragma once
// A list's sort by its icon column, which puts folders and files apart. Window's thread.
#include <gtk/gtk.h>

#include "base/non_copyable.h"

namespace relay_hub {

struct SortState {
    int column = GTK_TREE_SORTABLE_UNSORTED_SORT_COLUMN_ID;
    GtkSortType order = GTK_SORT_ASCENDING;
    bool operator==(const SortState&) const = default;
};
SortState sort_of(GtkListStore* store);

// Negative, 0 or positive, as the ascending sort has it. Null counts as empty.
int collate_icons(const char* a, const char* b);

struct IconOrder;

// While it lives, a row put into a store that is sorted by icon stays where it is put. When the sort was
// changed meanwhile, the rows are sorted anew at its end.
class RowsInPlace : NonCopyable {
  public:
    explicit RowsInPlace(GtkListStore* store);
    ~RowsInPlace();
    // The sort at the beginning.
    [[nodiscard]] const SortState& sort() const { return sort_; }

  private:
    GtkListStore* store_;
    SortState sort_;
    IconOrder* order_ = nullptr;  // only for a store that is sorted by icon
};

}  // namespace relay_hub
