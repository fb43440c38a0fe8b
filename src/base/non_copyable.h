#pragma once
// The base of a class whose objects stay where they were made: they are neither copied nor moved.

namespace relay_hub {

class NonCopyable {
  protected:
    NonCopyable() = default;
    NonCopyable(const NonCopyable&) = delete;
    NonCopyable& operator=(const NonCopyable&) = delete;
    ~NonCopyable() = default;
};

}  // namespace relay_hub
