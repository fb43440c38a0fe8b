#include "engine/request_thread.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "base/diagnostics.h"
#include "base/translated_text.h"
#include "base/wait.h"
#include "engine/wire_text.h"

namespace relay_hub::engine {
namespace {

using std::chrono::milliseconds;

// How often a request that has not ended is looked at.
constexpr milliseconds kLook{250};
// What a request that is given up gets to end by itself.
constexpr milliseconds kGrace{2000};
constexpr milliseconds kGraceAtTheEnd{1000};
// Each keeps a thread and some descriptors.
constexpr std::size_t kMostLeftBehind = 32;

}  // namespace

struct RequestThread::Work {
    void perform(const StopToken& stop) {
        const StopScope until_stopped(stop);
        // The client itself too: a copy shall not go on until the server has noticed that it left.
        const PeerScope until_client_leaves(write_end.get(), leave_events.get());
        const PeerScope until_given_up(-1, given_up.descriptor());
        reply = handlers->handle(request);
        ended.stop();
    }

    void watch_client() {
        if (const PeerScope* client = PeerScope::innermost()) {
            write_end.reset(fcntl(client->write_end(), F_DUPFD_CLOEXEC, 0));
            leave_events.reset(fcntl(client->leave_events(), F_DUPFD_CLOEXEC, 0));
        }
    }
    // The thread may be using the numbers, and the pipe is the next client's.
    void forget_client() {
        for (const FileDescriptor* end : {&write_end, &leave_events}) {
            if (*end && dup3(given_up.descriptor(), end->get(), O_CLOEXEC) < 0)
                report(RELAY_HUB_HERE,
                       "the pipe stays open for a request that was left behind:", error_text(errno));
        }
    }

    std::shared_ptr<RequestHandlers> handlers;
    std::string request;
    FileDescriptor write_end;
    FileDescriptor leave_events;
    Reply reply;  // the thread's until it has ended
    StopToken given_up;
    StopToken ended;
};

Reply RequestThread::handle(std::string request) {
    front_end_.begin_request();
    if (!handlers_)
        handlers_ = make_handlers_();
    // A heartbeat is answered in a third of the time that a thread takes for it.
    if (RequestHandlers::is_answered_at_once(request))
        return handlers_->handle(request);
    const auto work = std::make_shared<Work>();
    work->handlers = handlers_;
    work->request = std::move(request);
    work->watch_client();
    Worker worker;
    if (const int error = worker.start("a request", [work, &stop = stop_] { work->perform(stop); }))
        return {failure_text(error_text(error))};
    if (!await_end(*work, worker) && !give_up(work, worker))
        return {stop_.stopped() ? failure_text(translated("IDS_ERROR_DISCONNECT")) : success_text()};
    worker.join();
    return std::move(work->reply);
}

bool RequestThread::await_end(const Work& work, const Worker& worker) {
    while (worker.running()) {
        const WaitEnd end = wait_for(work.ended.descriptor(), POLLIN, after(kLook));
        if (end == WaitEnd::ready)
            return true;
        if (end != WaitEnd::timed_out || front_end_.silent_and_cancelled())
            return false;
    }
    return true;
}

bool RequestThread::give_up(const std::shared_ptr<Work>& work, const Worker& worker) {
    work->given_up.stop();
    if (stop_.stopped())
        handlers_->interrupt();
    if (worker.wait(stop_.stopped() ? kGraceAtTheEnd : kGrace))
        return true;
    while (left_any_behind() && left_.size() >= kMostLeftBehind && !stop_.stopped()) {
        if (worker.wait(kGrace))
            return true;
    }
    report(RELAY_HUB_HERE, "a request that hangs was left behind");
    work->forget_client();
    left_.push_back(work);
    handlers_.reset();
    return false;
}

bool RequestThread::left_any_behind() {
    std::erase_if(left_, [](const std::weak_ptr<Work>& work) { return work.expired(); });
    return !left_.empty();
}

}  // namespace relay_hub::engine
