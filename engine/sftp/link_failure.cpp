#include "engine/sftp/link_failure.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace relay_hub::engine::sftp {
namespace {

constexpr std::size_t kLastLines = 3;
// Says nothing about a failure.
constexpr std::string_view kNewKeyKept = "Warning: Permanently added";

struct Sign {
    std::string_view words;
    FailureKind kind;
};

// The first sign that any line bears decides: ssh reports a changed key together with a failed verification.
constexpr std::array<Sign, 17> kSigns{{
    {"REMOTE HOST IDENTIFICATION HAS CHANGED", FailureKind::kHostKeyChanged},
    {"Host key verification failed", FailureKind::kHostKeyUnknown},
    {"No matching host key fingerprint", FailureKind::kHostKeyUnknown},
    {"subsystem request failed", FailureKind::kNoSftp},
    {"Permission denied", FailureKind::kDenied},
    {"Too many authentication failures", FailureKind::kDenied},
    {"Could not resolve hostname", FailureKind::kUnknownHost},
    {"Name or service not known", FailureKind::kUnknownHost},
    {"hostname contains invalid characters", FailureKind::kUnknownHost},
    {"Connection refused", FailureKind::kRefused},
    {"timed out", FailureKind::kTimedOut},
    {"No route to host", FailureKind::kTimedOut},
    {"Network is unreachable", FailureKind::kTimedOut},
    {"Timeout, server", FailureKind::kTimedOut},
    {"Host is down", FailureKind::kTimedOut},
    {"command not found", FailureKind::kNoSftp},
    {"sftp-server: not found", FailureKind::kNoSftp},
}};

constexpr std::array<const char*, 10> kWords{"unknown-host",     "refused", "timed-out", "host-key-changed",
                                             "host-key-unknown", "denied",  "no-sftp",   "no-ssh",
                                             "cancelled",        "other"};

}  // namespace

const char* kind_word(FailureKind kind) {
    return kWords[static_cast<std::size_t>(kind)];
}

FailureKind failure_kind(const std::vector<std::string>& lines) {
    for (const Sign& sign : kSigns) {
        if (std::any_of(lines.begin(), lines.end(), [&sign](const std::string& line) {
                return line.find(sign.words) != std::string::npos;
            }))
            return sign.kind;
    }
    return FailureKind::kOther;
}

std::string last_words(const std::vector<std::string>& lines) {
    std::vector<std::string_view> words;
    for (const std::string& line : lines) {
        if (!line.starts_with(kNewKeyKept))
            words.emplace_back(line);
    }
    const std::size_t first = words.size() > kLastLines ? words.size() - kLastLines : 0;
    std::string text;
    for (std::size_t i = first; i < words.size(); ++i)
        text.append(text.empty() ? "" : "\n").append(words[i]);
    return text;
}

}  // namespace relay_hub::engine::sftp
