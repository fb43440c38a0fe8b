#pragma once
// A block of memory that reads as zeros and costs only the pages that were written. One thread at a time.
#include <cstddef>

#include "base/non_copyable.h"

namespace relay_hub {

class ZeroedMemory : NonCopyable {
  public:
    ~ZeroedMemory() { release(); }

    // Makes the block size bytes long, all zeros. False, with the block empty, when there is no memory.
    bool allocate(std::size_t size);
    // Zeros again; only pages that were written are given back.
    void clear();
    void release();
    // Null and 0 when empty.
    [[nodiscard]] char* data() const { return data_; }
    [[nodiscard]] std::size_t size() const { return size_; }

  private:
    char* data_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace relay_hub
