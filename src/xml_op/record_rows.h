#pragma once
// The records of a file list as rows: first kept aside as plain texts, which may happen on any thread, then
// added to the remote list on the window's thread.
#include <cstddef>
#include <deque>
#include <string>

#include "tree_view_op/file_list_view.h"

namespace relay_hub {

// Row after row, each text one after the other. One thread at a time.
class RecordRows {
  public:
    // kColumnCount texts in column order, copied; null leaves a column empty.
    void append(const char* const* texts);
    [[nodiscard]] std::size_t size() const { return size_; }
    // Adds all rows to the list and frees them on the way. A row named "." or ".." is reported on standard
    // error and left out.
    void move_to(RowFiller& filler);

  private:
    std::deque<std::string> blocks_;  // a row never lies in two
    std::size_t size_ = 0;
};

}  // namespace relay_hub
