#include "engine/front_end_link.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <utility>

#include "base/diagnostics.h"
#include "base/fifo.h"
#include "base/non_copyable.h"
#include "base/plain_text.h"
#include "link_engine/message_names.h"
#include "name_pipe/name_pipe_base.h"
#include "xml_doc/zev_xml.h"

namespace relay_hub::engine {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kOpenBriefly{250};
constexpr milliseconds kOpenPatiently{2000};
constexpr milliseconds kAnswerLimit{1000};
constexpr milliseconds kUserSlice{500};
constexpr milliseconds kUntilTheUserAnswers = std::chrono::hours(24 * 365);
// The front end looks for a lost engine before it answers.
constexpr milliseconds kOfflineLimit{30000};
constexpr milliseconds kChannelLimit{2000};
constexpr int kAttempts = 5;
// Bounds of what is believed of an answer, whatever length it announces.
constexpr milliseconds kWholeAnswerLimit{3000};
constexpr std::size_t kLongestAnswerText = 65536;
// How long a front end that is absent or hangs is left alone.
constexpr milliseconds kAbsence{3000};
constexpr milliseconds kSilence{1000};
// The front end keeps texts of this many bytes whole.
constexpr std::size_t kLongestText = 1000;

// The text ends at the first zero byte of a frame that is much longer; what follows is not worth its way.
std::optional<std::string> read_text(int fd) {
    std::string text;
    FrameProgress progress;
    const auto collect = [&](std::string_view piece) {
        const std::size_t zero = piece.find('\0');
        text += piece.substr(0, zero);
        return zero == std::string_view::npos && text.size() <= kLongestAnswerText;
    };
    const ReadEnd end =
        read_frame(fd, progress, {kAnswerLimit, kAnswerLimit, after(kWholeAnswerLimit)}, collect);
    const bool whole = end == ReadEnd::complete || end == ReadEnd::enough;
    if (!whole || text.size() > kLongestAnswerText)
        return std::nullopt;
    return text;
}

}  // namespace

// The right to the channel, waited for with a limit.
class FrontEndLink::Turn : relay_hub::NonCopyable {
  public:
    explicit Turn(FrontEndLink& link) : link_(link) {
        std::unique_lock lock(link_.mutex_);
        granted_ = link_.idle_.wait_for(lock, kChannelLimit, [&] { return !link_.busy_; });
        link_.busy_ = link_.busy_ || granted_;
    }
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

FrontEndLink::FrontEndLink(std::string base, const StopToken& stop, const std::atomic<bool>& remote_online)
    : base_(std::move(base)), stop_(stop), remote_online_(remote_online) {}

OverwriteAnswer FrontEndLink::confirm(const std::string& question) {
    const auto text = exchange(Caller::request,
                               {{wire::kCommand, wire::kGetConfirmationForCopy},
                                {wire::kConfirmationMessage, presentable(question, kLongestText)}},
                               kOpenPatiently, kUntilTheUserAnswers);
    CZEVXML answer;
    if (!text || !answer.LoadXML(*text))
        return OverwriteAnswer::kNone;
    // In this order: who answers for all that follow answers for this one too.
    static constexpr std::array<std::pair<const char*, OverwriteAnswer>, 5> kAnswers{
        {{wire::kConfirmationNoToAll, OverwriteAnswer::kNoToAll},
         {wire::kConfirmationYes, OverwriteAnswer::kYes},
         {wire::kConfirmationNo, OverwriteAnswer::kNo},
         {wire::kConfirmationReplaceAll, OverwriteAnswer::kReplaceAll},
         {wire::kConfirmationCancel, OverwriteAnswer::kCancel}}};
    for (const auto& [field, meaning] : kAnswers) {
        if (answer.Query(field) == wire::kYes)
            return meaning;
    }
    return OverwriteAnswer::kNone;
}

void FrontEndLink::begin_request() {
    last_asked_ = Clock::time_point();
    broken_off_ = false;
}

bool FrontEndLink::broken_off() {
    if (!remote_online_ || stop_.stopped())
        broken_off_ = true;
    return broken_off_;
}

bool FrontEndLink::cancelled() {
    if (broken_off() || peer_has_left())
        return true;
    if (Clock::now() < absent_until_.load())
        return false;
    return answers(Caller::request, wire::kCheckForUserClickCancel, kAnswerLimit, wire::kUserClickCancel,
                   wire::kYes);
}

bool FrontEndLink::silent_and_cancelled() {
    {
        const std::lock_guard lock(mutex_);
        const Clock::time_point last = last_asked_;
        if (busy_ || last == Clock::time_point() || Clock::now() - last < kSilence)
            return false;
    }
    return cancelled();
}

void FrontEndLink::progress(const Progress& report) {
    if (Clock::now() < absent_until_.load())
        return;
    (void)exchange(Caller::request,
                   {{wire::kCommand, wire::kCopyProgressStatusNotify},
                    {wire::kProgressInfo, in_one_line(report.item, kLongestText)},
                    {wire::kProgressElapsedTime, in_one_line(report.how_far, kLongestText)},
                    {wire::kProgressTotal, std::to_string(report.total)},
                    {wire::kProgressCurrent, std::to_string(report.done)}},
                   kOpenBriefly, kAnswerLimit);
}

bool FrontEndLink::message(const std::string& text) {
    const bool taken = exchange(Caller::request,
                                {{wire::kCommand, wire::kShowMessageBox},
                                 {wire::kMessageBoxContent, presentable(text, kLongestText)}},
                                kOpenPatiently, kAnswerLimit)
                           .has_value();
    if (!taken)
        relay_hub::report(RELAY_HUB_HERE, "the front end did not take the message:", in_one_line(text));
    return taken;
}

bool FrontEndLink::tell_remote_is_offline() {
    return answers(Caller::engine, wire::kRemoteIsOffline, kOfflineLimit, wire::kResult, wire::kSuccess);
}

bool FrontEndLink::ask_to_handle_remote_request() {
    return answers(Caller::engine, wire::kHandleRemoteRequest, kAnswerLimit, wire::kResult, wire::kSuccess);
}

// Only an answer of its own kind counts: while the user still thinks about a question that was taken back,
// what comes is the answer to that, and the front end has not read the command.
bool FrontEndLink::answers(Caller caller, const char* command, milliseconds limit, const char* field,
                           const char* value) {
    const auto text = exchange(caller, {{wire::kCommand, command}}, kOpenBriefly, limit);
    CZEVXML answer;
    return text && answer.LoadXML(*text) && answer.Query(field) == value;
}

std::optional<std::string> FrontEndLink::exchange(Caller caller, Fields fields, milliseconds open_limit,
                                                  milliseconds answer_limit) {
    const StopScope scope(stop_);
    const Turn turn(*this);
    if (!turn.granted() || (caller == Caller::request && peer_has_left()))
        return std::nullopt;
    const std::string message = message_text(fields);
    FileDescriptor out;
    WriteEnd sent = WriteEnd::closed;
    // A listener that closes its end just then has not seen the message: it comes back.
    for (int attempt = 0; sent == WriteEnd::closed && attempt < kAttempts; ++attempt)
        sent = send(message, open_limit, out);
    std::optional<std::string> answer;
    if (sent == WriteEnd::done && await_answer(out.get(), caller, answer_limit))
        answer = read_text(out.get());
    if (caller == Caller::request)
        last_asked_ = Clock::now();
    if (!answer && caller == Caller::request)
        absent_until_ = Clock::now() + kAbsence;
    return answer;
}

void FrontEndLink::make_pipes_private() const {
    for (const char* end : {"_IN", "_OUT"})
        make_fifo_private(base_ + end);
}

// Leaves the write end closed: the listener shall not take it for the next exchange's.
WriteEnd FrontEndLink::send(const std::string& message, milliseconds open_limit, FileDescriptor& out) {
    make_pipes_private();
    // IN first: the front end opens it only when it is through with the answer before.
    const FileDescriptor in = open_fifo_writer(base_ + "_IN", after(open_limit));
    if (!in)
        return WriteEnd::failed;
    out = open_fifo(base_ + "_OUT", O_RDONLY | O_NONBLOCK);
    if (!out)
        return WriteEnd::failed;
    const auto size = static_cast<std::uint32_t>(kCommandMarker.size() + message.size());
    const FrameHeader header = frame_header(size);
    const std::string frame =
        std::string(header.data(), header.size()).append(kCommandMarker).append(message);
    return write_bytes(in.get(), frame, kAnswerLimit);
}

// In slices, so that a remote computer that goes offline takes its question back.
bool FrontEndLink::await_answer(int fd, Caller caller, milliseconds limit) const {
    WaitEnd end = WaitEnd::timed_out;
    for (milliseconds left = limit; end == WaitEnd::timed_out && left > milliseconds(0); left -= kUserSlice) {
        if (caller == Caller::request && !remote_online_)
            return false;
        end = wait_for(fd, POLLIN, after(std::min(left, kUserSlice)));
    }
    return end == WaitEnd::ready;
}

}  // namespace relay_hub::engine
