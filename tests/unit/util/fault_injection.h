#pragma once
// Makes system calls of this program fail. The test program defines these calls itself, so that
// they stand before the C library's; unarmed they pass everything through.
#include <functional>

namespace util_test {

// While it lives, calls of the named function fail with the error, after the first `skip` of them. Only
// descriptors above standard error are touched. Of "transfer" every other read and write fails, and the
// others move a part only.
class Fault {
  public:
    Fault(const char* function, int error_number, int skip = 0);
    ~Fault();
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;
};

// While it lives, the action runs before each write above standard error.
class BeforeWrites {
  public:
    explicit BeforeWrites(std::function<void()> action);
    ~BeforeWrites();
    BeforeWrites(const BeforeWrites&) = delete;
    BeforeWrites& operator=(const BeforeWrites&) = delete;
};

}  // namespace util_test
