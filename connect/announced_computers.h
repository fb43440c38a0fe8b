#pragma once
// The computers that announce an SSH server on the networks and cables of this one. Without a daemon that
// listens for announcements there are none. Window's thread.
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/non_copyable.h"
#include "connect/typed_address.h"

namespace relay_hub::connect {

class AnnouncedComputers : NonCopyable {
  public:
    struct Watcher {
        // name: the computer's own, by which lost() names it. Called again when the same computer can be
        // reached by a better address, or its user becomes known.
        std::function<void(const std::string& name, const SshAddress& address)> found;
        std::function<void(const std::string& name)> lost;
    };

    static std::unique_ptr<AnnouncedComputers> listen(Watcher watcher);
    virtual ~AnnouncedComputers() = default;
};

// What is announced is not to be trusted: it goes the way of a typed address. Nothing where that is refused,
// or where it would be another user or computer than the announced one. Pure, any thread.
std::optional<SshAddress> checked_announcement(const SshAddress& announced);

}  // namespace relay_hub::connect
