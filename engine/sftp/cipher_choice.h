#pragma once
// Which ciphers ssh proposes first to a computer. Its own first one keeps ssh at both ends busy for longer
// than all the rest of a copy together; AES-GCM costs a third of that where both processors have instructions
// for AES, and more where one has none. One thread.
#include <string>

#include "base/ssh_address.h"

namespace relay_hub::engine::sftp {

class CipherChoice {
  public:
    // state_path: where computers without such instructions are remembered; it need not exist. aes_here:
    // whether this one has them.
    CipherChoice(SshAddress address, std::string state_path, bool aes_here);

    // For ssh's option Ciphers; empty to leave the choice to ssh: when the user's configuration makes one, or
    // a processor is known to have no such instructions. Asks ssh what its configuration says, for at most
    // two seconds.
    [[nodiscard]] std::string ciphers() const;
    // Takes what the other computer's /proc/cpuinfo says (empty when it has none), for the links to come.
    void learn(const std::string& processors) const;

  private:
    const SshAddress address_;
    const std::string state_path_;
    const bool aes_here_;
};

bool this_computer_has_aes();

// Below $XDG_STATE_HOME.
std::string cipher_state_path();

}  // namespace relay_hub::engine::sftp
