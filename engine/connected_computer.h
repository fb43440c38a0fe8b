#pragma once
// Another computer as the engine's remote one: its tree of files, the link to it, and the observer of that
// link's state.
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "engine/link_status.h"
#include "engine/remote_file_system.h"
#include "engine/sftp/link_keeper.h"

namespace relay_hub::engine {

class ConnectedComputer : private sftp::LinkObserver {
  public:
    struct News {
        std::atomic<bool>& remote_online;
        const LinkStatus& status;
        std::function<void(bool offline)> set_offline;  // called when that changes
        std::function<void()> give_up;                  // there will be no link
    };
    // Everything in news outlives it, and is called on a thread of the link's.
    ConnectedComputer(const SshAddress& address, std::optional<Style> style, News news);

    // Begins to connect; until there is a link the computer is offline. 0 or errno.
    int start();
    // Ends the link. Trees stay, without a link.
    void stop() { keeper_.stop(); }
    // One of any number of trees over the same link, each for a thread of its own. The computer outlives it.
    [[nodiscard]] std::unique_ptr<RemoteFileSystem> make_tree() const;

  private:
    void connecting() override;
    void ssh_said(const std::string& line) override;
    void connected(const sftp::ServerFacts& facts) override;
    bool failed(const sftp::LinkFailure& failure) override;
    void lost(const std::string& text) override;
    void say(const std::string& what) const;

    const News news_;
    const std::optional<Style> style_;
    bool was_connected_ = false;  // the link's thread alone
    std::string last_failure_;    // the link's thread alone: what needs no second telling
    sftp::LinkKeeper keeper_;
};

}  // namespace relay_hub::engine
