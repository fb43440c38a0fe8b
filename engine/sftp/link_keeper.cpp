#include "engine/sftp/link_keeper.h"

#include <sys/eventfd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "base/translated_text.h"

namespace relay_hub::engine::sftp {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds kFirstLimit{15};
// A link that comes back is to be seen within five seconds, an attempt that lost its first packets included.
constexpr seconds kReconnectLimit{4};
// A login that nobody is asked in: the other computer may have gone in the middle of it, and ssh would wait
// for its answer for hours.
constexpr seconds kLoginLimit{20};
constexpr milliseconds kPause{1000};
// The first processor of many.
constexpr std::size_t kProcessorsSize = 8192;
constexpr milliseconds kLastWishes{500};

}  // namespace

LinkKeeper::LinkKeeper(SshAddress address, LinkObserver& observer)
    : address_(std::move(address)),
      cipher_choice_(address_, cipher_state_path(), this_computer_has_aes()),
      observer_(observer) {}

int LinkKeeper::start() {
    return worker_.start("the link to the other computer", [this] { run(); });
}

void LinkKeeper::stop() {
    ending_.raised = true;
    worker_.stop();
    worker_.join();
}

std::shared_ptr<Session> LinkKeeper::session() const {
    const std::lock_guard lock(mutex_);
    return session_;
}

void LinkKeeper::run() {
    const StopToken& stop = *current_stop_token();
    SshStart start{address_, true, kFirstLimit, cipher_choice_.ciphers()};
    bool asked_since = false;
    while (!stop.stopped()) {
        observer_.connecting();
        Link link;
        LinkFailure failure;
        if (connect(start, link, failure)) {
            serve(link);
            was_connected_ = true;
            asked_since = false;
            // Nobody is asked again where a key is enough.
            start = {address_, false, kReconnectLimit, cipher_choice_.ciphers()};
        } else {
            if (!observer_.failed(failure) || stop.stopped())
                return;
            // Where it is not, the user is asked once, and then left alone.
            const bool needs_user =
                failure.kind == FailureKind::kDenied || failure.kind == FailureKind::kHostKeyUnknown;
            start.may_ask = !was_connected_ || (needs_user && !asked_since);
            asked_since = asked_since || start.may_ask;
        }
        (void)interruptible_sleep(kPause);
    }
}

Error LinkKeeper::learn_facts(Session& session) const {
    const Error error = session.learn_facts(address_.folder);
    const bool no_folder = error && error.number != ENOTCONN && error.number != ECANCELED;
    // The folder to begin in may have gone since, and the link is not for it alone.
    return no_folder && was_connected_ ? session.learn_facts("") : error;
}

bool LinkKeeper::connect(const SshStart& start, Link& link, LinkFailure& why) {
    link.ssh = SshProcess::start(start, why);
    if (!link.ssh)
        return false;
    const Session session(
        std::make_unique<Connection>(link.ssh->take_input(), link.ssh->take_output(),
                                     [ssh = link.ssh.get()] { return last_words(ssh->errors_at_end()); }));
    link.session = std::make_shared<Session>(session, ending_);
    const WaitEnd greeted = await_state(link, Connection::State::kGreeting,
                                        start.may_ask ? std::nullopt : Deadline(after(kLoginLimit)));
    Connection& connection = link.session->connection();
    Error error;
    if (connection.state() == Connection::State::kOpen)
        error = learn_facts(*link.session);
    if (greeted == WaitEnd::stopped || error.number == ECANCELED) {
        why = {FailureKind::kCancelled, translated("IDS_REASON_LINK_CANCELLED")};
        return false;
    }
    if (greeted == WaitEnd::timed_out) {
        why = {FailureKind::kTimedOut,
               fill_translated("IDS_REASON_LINK_SILENT", {std::to_string(kLoginLimit.count())})};
        return false;
    }
    if (error && error.number != ENOTCONN) {
        why = {FailureKind::kOther,
               error.text.empty() ? translated("IDS_REASON_LINK_FIRST_LOOK") : error.text};
        return false;
    }
    if (connection.state() == Connection::State::kLost) {
        why = failure_of(link);
        return false;
    }
    // What ssh said while logging in is not why the link is lost later.
    report_errors(link);
    link.ssh->forget_errors();
    {
        const std::lock_guard lock(mutex_);
        session_ = link.session;
    }
    observer_.connected(link.session->facts());
    return true;
}

void LinkKeeper::learn_about_processors(Session& session) {
    std::string processors;
    if (!session.facts().has_drives)
        (void)session.read_small_file("/proc/cpuinfo", kProcessorsSize, processors);
    cipher_choice_.learn(processors);
}

void LinkKeeper::serve(Link& link) {
    learn_about_processors(*link.session);
    const bool lost = await_state(link, Connection::State::kOpen, std::nullopt) == WaitEnd::ready;
    Connection& connection = link.session->connection();
    if (!lost)
        connection.drain(kLastWishes);
    {
        const std::lock_guard lock(mutex_);
        session_.reset();
    }
    connection.end(translated("IDS_REASON_LINK_CLOSED"));
    if (lost)
        observer_.lost(connection.reason());
}

WaitEnd LinkKeeper::await_state(Link& link, Connection::State state, Deadline deadline) {
    Connection& connection = link.session->connection();
    while (connection.state() == state) {
        std::array<pollfd, 2> watches{{{connection.state_events(), POLLIN, 0},
                                       {link.errors_open ? link.ssh->errors() : -1, POLLIN, 0}}};
        if (const WaitEnd end = wait_on(watches, deadline); end != WaitEnd::ready)
            return end;
        if (watches[0].revents != 0) {
            eventfd_t ignored = 0;
            (void)eventfd_read(connection.state_events(), &ignored);
        }
        report_errors(link);
    }
    return WaitEnd::ready;
}

void LinkKeeper::report_errors(Link& link) {
    std::vector<std::string> lines;
    if (link.errors_open)
        link.errors_open = link.ssh->read_errors(lines);
    for (const std::string& line : lines)
        observer_.ssh_said(line);
}

LinkFailure LinkKeeper::failure_of(Link& link) {
    report_errors(link);
    const std::vector<std::string> all = link.ssh->all_errors();
    LinkFailure failure{failure_kind(all), last_words(all)};
    if (failure.text.empty())
        failure.text = link.session->connection().reason();
    // ssh got in, but what answered there is no server of files.
    if (all.empty())
        failure.kind = FailureKind::kNoSftp;
    return failure;
}

}  // namespace relay_hub::engine::sftp
