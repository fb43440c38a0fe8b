#include "connect/engine_status.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "base/shown_text.h"
#include "base/translated_text.h"

namespace relay_hub::connect {
namespace {

struct EventRow {
    std::string_view word;
    EngineEvent event;
    std::size_t text_field;  // 0: none
};
constexpr EventRow kEvents[] = {
    {"connecting", EngineEvent::connecting, 0},
    {"ssh", EngineEvent::ssh, 1},
    {"connected", EngineEvent::connected, 0},
    {"failed", EngineEvent::failed, 2},
    {"lost", EngineEvent::lost, 1},
};

struct FailureRow {
    std::string_view word;
    Failure failure;
    const char* text;
};
constexpr FailureRow kFailures[] = {
    {"unknown-host", Failure::unknown_host, "IDS_CONNECT_UNKNOWN_HOST"},
    {"refused", Failure::refused, "IDS_CONNECT_REFUSED"},
    {"timed-out", Failure::timed_out, "IDS_CONNECT_TIMED_OUT"},
    {"host-key-changed", Failure::host_key_changed, "IDS_CONNECT_KEY_CHANGED"},
    {"host-key-unknown", Failure::host_key_unknown, "IDS_CONNECT_KEY_UNKNOWN"},
    {"denied", Failure::denied, "IDS_CONNECT_DENIED"},
    {"no-sftp", Failure::no_sftp, "IDS_CONNECT_NO_SFTP"},
    {"no-ssh", Failure::no_ssh, "IDS_CONNECT_NO_SSH"},
    {"cancelled", Failure::cancelled, "IDS_CONNECT_CANCELLED"},
    {"other", Failure::other, "IDS_CONNECT_FAILED"},
};

std::string unescaped(std::string_view field) {
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const char next = i + 1 < field.size() ? field[i + 1] : '\0';
        const bool escape = field[i] == '\\' && (next == 't' || next == 'n' || next == '\\');
        if (!escape) {
            text += field[i];
            continue;
        }
        text += next == 't' ? '\t' : next == 'n' ? '\n' : '\\';
        ++i;
    }
    return text;
}

std::vector<std::string> fields_of(std::string_view line) {
    std::vector<std::string> fields;
    while (true) {
        const std::size_t end = std::min(line.find('\t'), line.size());
        fields.push_back(unescaped(line.substr(0, end)));
        if (end == line.size())
            return fields;
        line.remove_prefix(end + 1);
    }
}

// In the list of known hosts a computer may bear another name than the user's, with a port.
std::optional<std::string> known_host_in(const std::string& ssh_words) {
    constexpr std::string_view kBefore = "Host key for ";
    const std::size_t before = ssh_words.find(kBefore);
    if (before == std::string::npos)
        return std::nullopt;
    const std::size_t start = before + kBefore.size();
    const std::size_t end = ssh_words.find(" has changed", start);
    if (end == std::string::npos)
        return std::nullopt;
    return shown_text("\"" + ssh_words.substr(start, end - start) + "\"");
}

}  // namespace

EngineStatus parse_status(std::string_view line) {
    const std::vector<std::string> fields = fields_of(line);
    EngineStatus status;
    for (const EventRow& row : kEvents) {
        if (fields[0] != row.word)
            continue;
        status.event = row.event;
        if (row.text_field != 0 && row.text_field < fields.size())
            status.text = fields[row.text_field];
    }
    for (const FailureRow& row : kFailures) {
        if (status.event == EngineEvent::failed && fields.size() > 1 && fields[1] == row.word)
            status.failure = row.failure;
    }
    return status;
}

std::string what_to_do(Failure failure, const std::string& host, const std::string& ssh_words) {
    const auto* const row = std::ranges::find(kFailures, failure, &FailureRow::failure);
    return fill_translated(row->text, {host, known_host_in(ssh_words).value_or(host)});
}

}  // namespace relay_hub::connect
