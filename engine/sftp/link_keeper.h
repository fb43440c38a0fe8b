#pragma once
// Keeps the link to another computer: connects, tells when the link is lost, and connects again by itself. A
// thread of its own does the work, so that nobody waits for a connection.
#include <memory>
#include <mutex>
#include <string>

#include "base/non_copyable.h"
#include "base/ssh_address.h"
#include "base/wait.h"
#include "base/worker.h"
#include "engine/sftp/cipher_choice.h"
#include "engine/sftp/link_failure.h"
#include "engine/sftp/session.h"
#include "engine/sftp/ssh_process.h"

namespace relay_hub::engine::sftp {

// Called on the keeper's thread; must not wait for the keeper.
class LinkObserver : NonCopyable {
  public:
    virtual ~LinkObserver() = default;

    virtual void connecting() = 0;
    // A line of ssh's standard error.
    virtual void ssh_said(const std::string& line) = 0;
    virtual void connected(const ServerFacts& facts) = 0;
    // Whether to try again.
    virtual bool failed(const LinkFailure& failure) = 0;
    virtual void lost(const std::string& text) = 0;
};

class LinkKeeper : NonCopyable {
  public:
    // observer outlives the keeper.
    LinkKeeper(SshAddress address, LinkObserver& observer);
    ~LinkKeeper() { stop(); }

    // Begins to connect. 0 or errno.
    int start();
    // Ends the link; what is on its way still gets half a second.
    void stop();
    // Null while there is no link. Any thread.
    [[nodiscard]] std::shared_ptr<Session> session() const;
    [[nodiscard]] const SshAddress& address() const { return address_; }

  private:
    struct Link {
        std::unique_ptr<SshProcess> ssh;
        std::shared_ptr<Session> session;
        bool errors_open = true;
    };

    void run();
    // False, with why, when there is no link; then the keeper may be ending.
    bool connect(const SshStart& start, Link& link, LinkFailure& why);
    Error learn_facts(Session& session) const;
    void serve(Link& link);
    void learn_about_processors(Session& session);
    // Waits until the connection's state is another one; then the end is ready.
    WaitEnd await_state(Link& link, Connection::State state, Deadline deadline);
    // Passes on what ssh wrote on standard error meanwhile.
    void report_errors(Link& link);
    LinkFailure failure_of(Link& link);

    const SshAddress address_;
    const CipherChoice cipher_choice_;
    LinkObserver& observer_;
    Interruption ending_;
    bool was_connected_ = false;  // the keeper's thread alone
    mutable std::mutex mutex_;
    std::shared_ptr<Session> session_;  // guarded by mutex_
    Worker worker_;
};

}  // namespace relay_hub::engine::sftp
