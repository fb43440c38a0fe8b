#include "engine/connected_computer.h"

#include <cstdio>
#include <utility>

#include "base/plain_text.h"
#include "base/translated_text.h"
#include "engine/sftp/remote_entry.h"
#include "engine/sftp/sftp_file_system.h"

namespace relay_hub::engine {
namespace {

// What may change by itself, as when the other computer is still being switched on.
bool may_pass(sftp::FailureKind kind) {
    return kind == sftp::FailureKind::kUnknownHost || kind == sftp::FailureKind::kRefused ||
           kind == sftp::FailureKind::kTimedOut;
}

}  // namespace

ConnectedComputer::ConnectedComputer(const SshAddress& address, std::optional<Style> style, News news)
    : news_(std::move(news)), style_(style), keeper_(address, *this) {}

std::unique_ptr<RemoteFileSystem> ConnectedComputer::make_tree() const {
    return std::make_unique<sftp::SftpFileSystem>([this] { return keeper_.session(); }, style_);
}

int ConnectedComputer::start() {
    news_.remote_online = false;
    return keeper_.start();
}

void ConnectedComputer::say(const std::string& what) const {
    std::fprintf(stderr, "relay-hub-engine: %s\n", presentable(what, 4000).c_str());
}

void ConnectedComputer::connecting() {
    news_.status.connecting();
}

void ConnectedComputer::ssh_said(const std::string& line) {
    news_.status.ssh_said(line);
}

void ConnectedComputer::connected(const sftp::ServerFacts& facts) {
    was_connected_ = true;
    last_failure_.clear();
    const Style style = sftp::style_of(facts.has_drives, style_);
    const std::string begin = sftp::inner_of(facts.first_folder.empty() ? facts.home : facts.first_folder);
    say(fill_translated("IDS_LINK_CONNECTED", {keeper_.address().shown()}));
    news_.status.connected(style, keeper_.address().shown(), wire_path(style, begin));
    news_.remote_online = true;
    news_.set_offline(false);
}

bool ConnectedComputer::failed(const sftp::LinkFailure& failure) {
    if (failure.text != last_failure_)
        say(fill_translated("IDS_LINK_CANNOT_CONNECT", {keeper_.address().shown(), failure.text}));
    last_failure_ = failure.text;
    news_.status.failed(sftp::kind_word(failure.kind), failure.text);
    if (was_connected_ || (may_pass(failure.kind) && !news_.status.has_reader()))
        return true;
    news_.give_up();
    return false;
}

void ConnectedComputer::lost(const std::string& text) {
    news_.remote_online = false;
    say(fill_translated("IDS_LINK_IS_LOST", {keeper_.address().shown(), text}));
    news_.status.lost(text);
    news_.set_offline(true);
}

}  // namespace relay_hub::engine
