#pragma once
// The computers that were used before, kept in a key file of the user's. Nothing secret is in it. Not
// thread-safe.
#include <string>
#include <vector>

#include "connect/typed_address.h"

namespace relay_hub::connect {

class ComputerHistory {
  public:
    // path: the key file, which need not exist. A file that cannot be understood counts as empty.
    explicit ComputerHistory(std::string path);

    // Most recent first, once each, with the folder that was opened last.
    [[nodiscard]] const std::vector<SshAddress>& computers() const { return computers_; }

    // Puts the computer first and saves the file, readable by the user alone. Empty, or why it could not be
    // saved.
    std::string remember(const SshAddress& address);

  private:
    std::string path_;
    std::vector<SshAddress> computers_;
};

// Below $XDG_STATE_HOME.
std::string computer_history_path();

}  // namespace relay_hub::connect
