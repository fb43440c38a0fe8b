#pragma once
// Why a connection could not be made, from what ssh wrote on standard error. Pure.
#include <string>
#include <vector>

namespace relay_hub::engine::sftp {

enum class FailureKind {
    kUnknownHost,
    kRefused,
    kTimedOut,
    kHostKeyChanged,
    kHostKeyUnknown,
    kDenied,
    kNoSftp,
    kNoSsh,
    kCancelled,
    kOther,
};

// The word for programs: "unknown-host", "refused", "timed-out", "host-key-changed", "host-key-unknown",
// "denied", "no-sftp", "no-ssh", "cancelled" and "other".
const char* kind_word(FailureKind kind);

struct LinkFailure {
    FailureKind kind = FailureKind::kOther;
    std::string text;  // for people, with ssh's own last words
};

// What ssh said when it ended before the server answered. lines: what it wrote, in order.
FailureKind failure_kind(const std::vector<std::string>& lines);
// The last lines that tell something, joined by line ends.
std::string last_words(const std::vector<std::string>& lines);

}  // namespace relay_hub::engine::sftp
