#pragma once
// One engine for each user: a lock file in the user's runtime directory, locked as long as this object lives.
#include <string>

#include "base/file_descriptor.h"

namespace relay_hub::engine {

class InstanceLock {
  public:
    // False, with why told, when another engine runs or the lock cannot be had.
    bool take(std::string& why);

  private:
    FileDescriptor file_;
};

}  // namespace relay_hub::engine
