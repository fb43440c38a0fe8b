#pragma once
// The texts of one local entry's row.
#include <array>
#include <cstdint>
#include <ctime>
#include <string>

#include "tree_view_op/row_store.h"
#include "util/sorted_folder.h"

namespace relay_hub {

// Looks at one entry of folder. One that is gone is reported on the outputs and comes back as vanished.
FolderEntry read_entry(const std::string& folder, const std::string& name);

// "%Y-%m-%d %T" of local time.
using TimeText = std::array<char, 32>;

// What the row of one entry shows. A vanished entry's row is empty.
struct LocalRow {
    // Borrowed from the row.
    [[nodiscard]] RowTexts texts() const;

    std::string name;
    std::string size_text;
    TimeText modified{};
    TimeText accessed{};
    const char* type_word = "";  // the catalogue's own
    std::uint64_t size = 0;
    bool is_folder = false;
    bool vanished = false;
};

// Formats entries one after the other. Any one thread.
class LocalRowFormatter {
  public:
    LocalRowFormatter();
    LocalRow row_of(FolderEntry entry);

  private:
    // Entries of one folder often share their times.
    struct LastTime {
        std::time_t seconds = 0;
        TimeText text{};
        const TimeText& of(std::time_t time);
    };
    const char* folder_word_;
    const char* file_word_;
    LastTime modified_;
    LastTime accessed_;
};

}  // namespace relay_hub
