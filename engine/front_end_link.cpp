#include "engine/front_end_link.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "base/diagnostics.h"
#include "engine/wire_text.h"
#include "link_engine/message_names.h"
#include "xml_doc/zev_xml.h"

namespace relay_hub::engine {
namespace {

using std::chrono::steady_clock;

constexpr Milliseconds kOpenBriefly{250};
constexpr Milliseconds kOpenPatiently{2000};
constexpr Milliseconds kAnswerLimit{1000};
constexpr Milliseconds kUserSlice{500};
constexpr Milliseconds kUntilTheUserAnswers = std::chrono::hours(24 * 365);
// The front end looks for a lost engine before it answers.
constexpr Milliseconds kOfflineLimit{30000};
constexpr Milliseconds kChannelLimit{2000};
constexpr int kAttempts = 5;
// How long a front end that is absent or hangs is left alone.
constexpr Milliseconds kAbsence{3000};
// The front end keeps texts of this many bytes whole.
constexpr std::size_t kLongestText = 1000;
constexpr std::size_t kAnswerStep = 4096;

std::string command_text(const char* command) {
    WireText message;
    message.add(wire::kCommand, command);
    return message.finish();
}

std::string clock_text(std::chrono::seconds elapsed) {
    const auto seconds = elapsed.count();
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%02lld:%02lld:%02lld", static_cast<long long>(seconds / 3600),
                  static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
    return text.data();
}

}  // namespace

// The right to the channel, waited for with a limit.
class FrontEndLink::Turn {
  public:
    explicit Turn(FrontEndLink& link) : link_(link) {
        std::unique_lock lock(link_.mutex_);
        granted_ = link_.idle_.wait_for(lock, kChannelLimit, [&] { return !link_.busy_; });
        link_.busy_ = link_.busy_ || granted_;
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        if (!granted_)
            return;
        {
            const std::lock_guard lock(link_.mutex_);
            link_.busy_ = false;
        }
        link_.idle_.notify_one();
    }
    [[nodiscard]] bool granted() const { return granted_; }

  private:
    FrontEndLink& link_;
    bool granted_ = false;
};

FrontEndLink::FrontEndLink(std::string base, const StopEvent& stop, const LinkState& state)
    : base_(std::move(base)), state_(state), client_(stop), no_client_(stop) {}

Answer FrontEndLink::confirm(const std::string& question) {
    WireText message;
    message.add(wire::kCommand, wire::kGetConfirmationForCopy);
    message.add(wire::kConfirmationMessage, presentable(question, kLongestText));
    const auto text = exchange(client_, message.finish(), kOpenPatiently, kUntilTheUserAnswers);
    CZEVXML answer;
    if (!text || !answer.LoadXML(*text))
        return Answer::kCancel;
    static constexpr std::array<std::pair<const char*, Answer>, 3> kAnswers{
        {{wire::kConfirmationYes, Answer::kYes},
         {wire::kConfirmationNo, Answer::kNo},
         {wire::kConfirmationReplaceAll, Answer::kReplaceAll}}};
    for (const auto& [field, meaning] : kAnswers) {
        if (answer.Query(field) == wire::kYes)
            return meaning;
    }
    return Answer::kCancel;
}

bool FrontEndLink::cancelled() {
    if (!state_.remote_online || client_.peer_left() || client_.wait(-1, 0, Milliseconds(0)) == ECANCELED)
        return true;
    if (steady_clock::now() < absent_until_)
        return false;
    const auto text =
        exchange(client_, command_text(wire::kCheckForUserClickCancel), kOpenBriefly, kAnswerLimit);
    CZEVXML answer;
    return text && answer.LoadXML(*text) && answer.Query(wire::kUserClickCancel) == wire::kYes;
}

void FrontEndLink::progress(const Progress& report) {
    if (steady_clock::now() < absent_until_)
        return;
    WireText message;
    message.add(wire::kCommand, wire::kCopyProgressStatusNotify);
    message.add(wire::kProgressInfo, in_one_line(report.item, kLongestText));
    message.add(wire::kProgressElapsedTime, clock_text(report.elapsed));
    message.add(wire::kProgressTotal, report.total);
    message.add(wire::kProgressCurrent, report.done);
    (void)exchange(client_, message.finish(), kOpenBriefly, kAnswerLimit);
}

void FrontEndLink::message(const std::string& text) {
    WireText message;
    message.add(wire::kCommand, wire::kShowMessageBox);
    message.add(wire::kMessageBoxContent, presentable(text, kLongestText));
    if (!exchange(client_, message.finish(), kOpenPatiently, kAnswerLimit))
        relay_hub::report(RELAY_HUB_HERE, "the front end did not take the message:", in_one_line(text));
}

bool FrontEndLink::tell_remote_is_offline() {
    return succeeds(wire::kRemoteIsOffline, kOfflineLimit);
}

bool FrontEndLink::ask_to_handle_remote_request() {
    return succeeds(wire::kHandleRemoteRequest, kAnswerLimit);
}

// Only an answer of its own kind counts: while the user still thinks about a question that was taken back,
// what comes is the answer to that, and the front end has not read the command.
bool FrontEndLink::succeeds(const char* command, Milliseconds limit) {
    const auto text = exchange(no_client_, command_text(command), kOpenBriefly, limit);
    CZEVXML answer;
    return text && answer.LoadXML(*text) && answer.Query(wire::kResult) == wire::kSuccess;
}

std::optional<std::string> FrontEndLink::exchange(const PipeWaiter& waiter, const std::string& message,
                                                  Milliseconds open_limit, Milliseconds answer_limit) {
    const Turn turn(*this);
    if (!turn.granted())
        return std::nullopt;
    FileDescriptor out;
    int error = EPIPE;
    // A listener that closes its end just then has not seen the message: it comes back.
    for (int attempt = 0; error == EPIPE && attempt < kAttempts; ++attempt)
        error = send(waiter, message, open_limit, out);
    auto answer = error == 0 ? read_answer(out.get(), waiter, answer_limit) : std::nullopt;
    if (!answer && &waiter == &client_)
        absent_until_ = steady_clock::now() + kAbsence;
    return answer;
}

// Leaves the write end closed: the listener shall not take it for the next exchange's.
int FrontEndLink::send(const PipeWaiter& waiter, const std::string& message, Milliseconds open_limit,
                       FileDescriptor& out) {
    FileDescriptor in;
    // IN first: the front end opens it only when it is through with the answer before.
    if (const int error = open_fifo_writer(base_ + "_IN", waiter, open_limit, in); error != 0)
        return error;
    if (const int error = open_fifo(base_ + "_OUT", O_RDONLY | O_NONBLOCK, out); error != 0)
        return error;
    return write_frame(in.get(), waiter, kAnswerLimit, std::string(kCommandMarker) + message, 0);
}

std::optional<std::string> FrontEndLink::read_answer(int fd, const PipeWaiter& waiter,
                                                     Milliseconds limit) const {
    // In slices, so that a remote computer that goes offline takes its question back.
    int error = ETIMEDOUT;
    for (Milliseconds left = limit; error == ETIMEDOUT && left > Milliseconds(0); left -= kUserSlice) {
        if (&waiter == &client_ && !state_.remote_online)
            return std::nullopt;
        error = waiter.wait(fd, POLLIN, std::min(left, kUserSlice));
    }
    if (error != 0)
        return std::nullopt;
    std::array<char, kFrameHeader> header{};
    if (read_bytes(fd, waiter, kAnswerLimit, header.data(), header.size()) != 0)
        return std::nullopt;
    // The text ends at the first zero byte of a frame that is much longer; the rest is not worth its way.
    std::string text;
    std::size_t missing = frame_length(header.data());
    while (missing > 0) {
        std::array<char, kAnswerStep> step{};
        const std::size_t size = std::min(missing, step.size());
        if (read_bytes(fd, waiter, kAnswerLimit, step.data(), size) != 0)
            return std::nullopt;
        const auto* end = static_cast<const char*>(std::memchr(step.data(), 0, size));
        text.append(step.data(), end != nullptr ? static_cast<std::size_t>(end - step.data()) : size);
        if (end != nullptr)
            break;
        missing -= size;
    }
    return text;
}

}  // namespace relay_hub::engine
