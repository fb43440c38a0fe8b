#pragma once
// The line below a list: "Items: 12 · Selected: 3 (4.5 MB) · Free: 23.0 GB". Window's thread.
#include <gtk/gtk.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace relay_hub {

// A label that follows the list's rows and selection, at most ten times a second. The caller packs it.
GtkWidget* new_list_summary(GtkWidget* tree_view);

// To be called after changing single rows; a list that is filled anew is noticed without it.
void count_rows_again(GtkWidget* tree_view);

// Bytes that can still be written where the list stands; no value leaves them out of the line.
void set_free_space(GtkWidget* tree_view, std::optional<std::uint64_t> bytes);

// The sizes of a local folder's files. A remote row brings its size along, a local one shows it rounded.
class ListedSizes {
  public:
    void add(const std::string& name, std::uint64_t size);
    // Hands the sizes to the list, in place of those before.
    void give_to(GtkWidget* tree_view) &&;
    // 0 for a name that was not added.
    [[nodiscard]] std::uint64_t of(const std::string& name);

  private:
    // By the hash of the name: a folder of 100,000 files costs 1.6 MB.
    std::vector<std::pair<std::size_t, std::uint64_t>> sizes_;
    bool sorted_ = false;  // by the first question: most lists are only looked at
};

}  // namespace relay_hub
