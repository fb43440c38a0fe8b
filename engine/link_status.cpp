#include "engine/link_status.h"

#include <fcntl.h>
#include <poll.h>

#include <utility>

#include "base/wait.h"

namespace relay_hub::engine {
namespace {

constexpr std::chrono::milliseconds kPatience{1000};

void append_escaped(std::string& line, std::string_view field) {
    for (const char c : field) {
        if (c == '\t')
            line += "\\t";
        else if (c == '\n')
            line += "\\n";
        else if (c == '\\')
            line += "\\\\";
        else
            line += c;
    }
}

}  // namespace

LinkStatus::LinkStatus(FileDescriptor out) : out_(std::move(out)) {
    if (out_)
        (void)fcntl(out_.get(), F_SETFD, FD_CLOEXEC);
}

bool LinkStatus::has_room() const {
    pollfd room{out_.get(), POLLOUT, 0};
    reader_stands_still_ =
        poll(&room, 1, 0) == 0 &&
        (reader_stands_still_ || wait_for(out_.get(), POLLOUT, after(kPatience)) != WaitEnd::ready);
    return !reader_stands_still_;
}

void LinkStatus::write(const std::vector<std::string_view>& fields) const {
    if (!out_)
        return;
    std::string line;
    for (const std::string_view field : fields) {
        if (!line.empty())
            line += '\t';
        append_escaped(line, field);
    }
    line += '\n';
    if (has_room())
        (void)write_all(out_.get(), line.data(), line.size());
}

void LinkStatus::connecting() const {
    write({"connecting"});
}

void LinkStatus::ssh_said(std::string_view line) const {
    write({"ssh", line});
}

void LinkStatus::connected(Style style, std::string_view computer, std::string_view folder) const {
    write({"connected", style == Style::kPosix ? "posix" : "windows", computer, folder});
}

void LinkStatus::failed(std::string_view kind, std::string_view text) const {
    write({"failed", kind, text});
}

void LinkStatus::lost(std::string_view text) const {
    write({"lost", text});
}

}  // namespace relay_hub::engine
