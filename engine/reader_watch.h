#pragma once
// Notices when the reader of a FIFO closed it, even if another reader came at once. Where the system grants
// no watch it notices nothing. One thread at a time.
#include <string>

#include "base/file_descriptor.h"

namespace relay_hub::engine {

class ReaderWatch {
  public:
    explicit ReaderWatch(const std::string& path);
    // From now on only later departures count.
    void forget();
    // Readable once a reader left; -1 without a watch. Borrowed.
    [[nodiscard]] int descriptor() const { return events_.get(); }

  private:
    FileDescriptor events_;
};

}  // namespace relay_hub::engine
