#pragma once
// Many rows at once. Window's thread.
#include <gtk/gtk.h>

#include <cstddef>
#include <memory>

#include "base/non_copyable.h"
#include "tree_view_op/list_columns.h"

namespace relay_hub {

// Fills many rows cheaply: takes the store off the view while it lives, and puts each row straight to its
// place in the store's sort by icon, equals in the order of their coming.
// add() takes kColumnCount texts in column order (null leaves a column empty) and turns the main loop now
// and then when a watcher is set; false means stop.
class RowFiller : NonCopyable {
  public:
    explicit RowFiller(GtkWidget* tree_view, std::size_t expected_rows = 0);
    ~RowFiller();
    bool add(const char* const* texts);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace relay_hub
