#pragma once
// Makes system calls of this program fail or fall short. The test program defines these calls itself, so that
// they stand before the C library's; unarmed they pass everything through.
#include <cstddef>

namespace util_test {

// While it lives, calls of the named function fail with the error, after the first `skip` of them. Only
// descriptors above standard error are touched. "sync" stands for fsync and syncfs together.
class Fault {
  public:
    Fault(const char* function, int error_number, int skip = 0);
    ~Fault();
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    [[nodiscard]] int hits() const;
};

// While it lives, reads and writes move at most so many bytes a call, and every other one is interrupted.
class ShortTransfers {
  public:
    explicit ShortTransfers(std::size_t limit);
    ~ShortTransfers();
    ShortTransfers(const ShortTransfers&) = delete;
    ShortTransfers& operator=(const ShortTransfers&) = delete;
};

}  // namespace util_test
