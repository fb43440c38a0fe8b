#pragma once
// The texts of one local entry's row.
#include <ctime>
#include <string>

#include "tree_view_op/row_store.h"
#include "util/file_op.h"

namespace relay_hub {

// Looks at one entry of folder. One that is gone is told on the outputs and comes back as vanished.
FolderEntry read_entry(const std::string& folder, const std::string& name);

// Formats entries one after the other; the texts are borrowed until the next one. Any one thread.
class LocalRow {
  public:
    LocalRow();
    const RowTexts& texts(const FolderEntry& entry);

  private:
    // "%Y-%m-%d %T" of local time; entries of one folder often share their times.
    struct TimeText {
        std::time_t seconds = 0;
        bool filled = false;
        char text[64] = "";
        const char* of(std::time_t time);
    };

    const char* folder_word_;
    const char* file_word_;
    std::string size_;
    TimeText modified_;
    TimeText accessed_;
    RowTexts row_{};
};

}  // namespace relay_hub
