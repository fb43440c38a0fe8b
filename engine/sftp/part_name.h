#pragma once
// The names of files that are being written on the other computer:
// ".relay-hub-HOST-PROCESS-TIME-NUMBER.part". They say by themselves whose they are, since no lock can be
// held there. Any thread.
#include <ctime>
#include <string>
#include <string_view>

#include "base/non_copyable.h"

namespace relay_hub::engine::sftp {

// A name that nobody else uses. What bears it is left over once this object is gone.
class PartName : NonCopyable {
  public:
    PartName();
    ~PartName();
    [[nodiscard]] const std::string& text() const { return text_; }

  private:
    std::string text_;
};

bool is_part_name(std::string_view name);
// Whether what wrote it is no longer there: in this process the PartName, on this computer the process, on
// another one after a week.
bool is_left_over(std::string_view name, std::time_t now);

}  // namespace relay_hub::engine::sftp
