#pragma once
// What the user sees in a list, to be found again by its names after the list was filled anew: the
// selected rows, the cursor, the row on top. Window's thread.
#include <gtk/gtk.h>

#include <string>
#include <vector>

namespace relay_hub {

class ListPlace {
  public:
    explicit ListPlace(GtkWidget* tree_view);
    // Rows that are gone stay out of the selection; the keyboard focus stays where it is.
    void restore() const;

  private:
    GtkTreeView* view_;
    std::vector<std::string> selected_;
    std::string cursor_;
    bool cursor_selected_ = false;
    std::string top_;         // the first row that shows whole
    gfloat share_above_ = 0;  // of the room that it leaves
};

}  // namespace relay_hub
