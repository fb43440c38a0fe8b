#pragma once
// Which ciphers ssh proposes first to a computer. With its own first one, ssh and sshd took 3.2 s of
// processor time for 1 GiB; with AES-GCM 2.1 s, where both processors have instructions for AES. Where one
// has none, AES-GCM is the slower one. One thread.
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
