#include "base/zeroed_memory.h"

#include <sys/mman.h>

#include <cstring>

namespace relay_hub {

bool ZeroedMemory::allocate(std::size_t size) {
    release();
    void* block =
        ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (block == MAP_FAILED)
        return false;
    // A huge page would be zeroed whole for every short text.
    (void)::madvise(block, size, MADV_NOHUGEPAGE);
    data_ = static_cast<char*>(block);
    size_ = size;
    return true;
}

void ZeroedMemory::clear() {
    // Locked memory is not given back.
    if (data_ != nullptr && ::madvise(data_, size_, MADV_DONTNEED) != 0)
        std::memset(data_, 0, size_);
}

void ZeroedMemory::release() {
    if (data_ != nullptr)
        (void)::munmap(data_, size_);
    data_ = nullptr;
    size_ = 0;
}

}  // namespace relay_hub
