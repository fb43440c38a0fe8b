#include "link_engine/command_runner.h"

#include <glib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "base/main_loop.h"
#include "base/main_loop_source.h"
#include "base/non_copyable.h"
#include "base/worker.h"
#include "link_engine/answer_slot.h"
#include "link_engine/confirmation.h"
#include "link_engine/engine_callbacks.h"
#include "link_engine/request_builders.h"
#include "link_engine/transfer_state.h"

namespace relay_hub {
namespace {

constexpr unsigned int kTimerInterval = 1000;

struct RunningRequest;

// Every request between its start and the end of its worker, outermost first. Window's thread.
struct RunningRequests {
    std::vector<RunningRequest*> running;
    bool closing = false;
};
RunningRequests requests;

// One request under way. It lives on the stack of send_command_t, which waits for its worker.
struct RunningRequest : NonCopyable {
    RunningRequest(command_start_t start_function, __send_args& block) : start(start_function), args(block) {
        requests.running.push_back(this);
    }
    ~RunningRequest() { std::erase(requests.running, this); }

    // 0, or the error code when no worker could be started.
    int start_worker() {
        return worker.start("a request to the link engine", [this] {
            const AnswerScope scope(answer);
            args.worker = pthread_self();
            start(&args);
        });
    }
    // The worker's waits end; a start function that never sets the state does not hold the window's thread
    // either.
    void abandon() {
        args.given_up = true;
        worker.stop();
        finish();
    }
    void finish() {
        if (get_atomic(&args.state) == kStateRunning)
            set_atomic(&args.state, kStateFinished);
    }
    bool ended() {
        return !worker.running() && (get_atomic(&args.state) != kStateRunning || worker.failure() != nullptr);
    }
    bool copies() const {
        return start == set_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL || start == set_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE;
    }

    command_start_t start;
    __send_args& args;
    AnswerCell answer;  // the worker's until it has ended, then the reader's
    Worker worker;
    MainLoopSource limit_timer;
    MainLoopSource cancel_timer;
    std::chrono::steady_clock::time_point cancelled_at;
};

int check_after_cancel(void* data);

void watch_cancelled(RunningRequest& request) {
    const auto quiet_since = std::max(request.cancelled_at, last_engine_activity());
    const auto left = request.args.cancel_grace - (std::chrono::steady_clock::now() - quiet_since);
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(left);
    request.cancel_timer.reset(
        g_timeout_add(static_cast<guint>(std::max<long>(wait.count(), 1)), check_after_cancel, &request));
}

// A question that waits for the user is no silence of the engine's.
int check_after_cancel(void* data) {
    RunningRequest& request = *static_cast<RunningRequest*>(data);
    request.cancel_timer.forget();
    const auto now = std::chrono::steady_clock::now();
    if (GetInformationRequest() == kConfirmationWanted)
        request.cancelled_at = now;
    if (now - std::max(request.cancelled_at, last_engine_activity()) >= request.args.cancel_grace)
        request.abandon();
    else
        watch_cancelled(request);
    return FALSE;
}

// Window's thread, where nobody else changes the list.
void watch_cancelled_requests() {
    for (RunningRequest* request : requests.running) {
        if (request->cancelled_at != std::chrono::steady_clock::time_point() ||
            get_atomic(&request->args.state) != TASK_CANCEL)
            continue;
        request->cancelled_at = std::chrono::steady_clock::now();
        watch_cancelled(*request);
    }
}

// Only one request at a time holds the channel, and only copies are asked about: the innermost copy is meant,
// whichever request turns the main loop.
__send_args& questioned_request() {
    const auto& running = requests.running;
    const auto copy = std::find_if(running.rbegin(), running.rend(), [](RunningRequest* request) {
        return request->copies() && request->worker.running();
    });
    return (copy == running.rend() ? running.back() : *copy)->args;
}

// False when there is none to serve.
bool serve_question() {
    if (GetInformationRequest() != kConfirmationWanted || confirmation_being_asked())
        return false;
    std::puts("going to show dialog....");
    link_engine_confirm(&questioned_request());
    return true;
}

void wait_for_worker(RunningRequest& request) {
    const ConfirmationServer server;
    turn_main_loop_until([&request] {
        // The main loop that a question turned may have used up the wake-up of the next one.
        do {
            watch_cancelled_requests();
        } while (!request.ended() && serve_question());
        return request.ended();
    });
}

int read_answer(command_finish_t finish, AnswerCell& answer, __send_args* args) {
    const AnswerScope scope(answer);
    return finish ? finish(args) : 0;
}

// 0, or the error code when no worker could be started.
int run_to_end(command_start_t start, __send_args* args, AnswerCell& answer) {
    RunningRequest request(start, *args);
    if (const int failure = request.start_worker()) {
        request.finish();
        return failure;
    }
    if (args->timeout_seconds != kNoTimeLimit) {
        args->started_at = std::time(nullptr);
        request.limit_timer.reset(g_timeout_add(kTimerInterval, block_timer, args));
    }
    wait_for_worker(request);
    request.worker.join();
    request.finish();
    answer = std::move(request.answer);
    return 0;
}

struct TimingLine {
    int code;
    const char* request;
};
constexpr TimingLine kTimingLines[] = {{kCodeDriverList, "NP_VAL_CMD_GET_DRIVER_LIST"},
                                       {kCodeFileList, "NP_VAL_CMD_GET_FILE_LIST"},
                                       {kCodeSpecialPath, "NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH"},
                                       {kCodeRemoteOnline, "NP_VAL_CMD_CHECK_REMOTE_ONLINE"},
                                       {kCodeConnectionStatus, "NP_VAL_CMD_CHECK_CONNECTION_STATUS"},
                                       {kCodeHeartbeat, "NP_VAL_CMD_CHECK_FOR_HEARTBEAT"}};

void print_timing(int code, double elapsed) {
    for (const TimingLine& line : kTimingLines)
        if (line.code == code)
            std::printf("monitor %s\tsecond:%.2f\n", line.request, elapsed);
}

void give_up(__send_args& args) {
    for (RunningRequest* request : requests.running) {
        if (&request->args != &args)
            continue;
        request->limit_timer.forget();
        request->abandon();
        return;
    }
}

}  // namespace

void abandon_current_request() {
    if (!requests.running.empty())
        requests.running.back()->abandon();
}

void allow_requests(bool allowed) {
    requests.closing = !allowed;
    if (allowed)
        return;
    for (RunningRequest* request : requests.running)
        request->abandon();
}

}  // namespace relay_hub

int send_command_t(command_start_t start, command_finish_t finish, __send_args* args) {
    relay_hub::AnswerCell answer;
    if (args->sent_again)
        relay_hub::forget_answer_for_all();
    if (get_atomic(&args->state) != TASK_CANCEL && !relay_hub::requests.closing) {
        set_atomic(&args->state, kStateRunning);
        if (const int failure = relay_hub::run_to_end(start, args, answer))
            return failure;
        std::puts("terminated of thread!");
    } else if (get_atomic(&args->state) != TASK_CANCEL) {
        set_atomic(&args->state, kStateFinished);
    }
    return relay_hub::read_answer(finish, answer, args);
}

int block_timer(void* data) {
    auto& args = *static_cast<__send_args*>(data);
    const double elapsed = std::difftime(std::time(nullptr), args.started_at);
    relay_hub::print_timing(args.command_code, elapsed);
    if (elapsed <= args.timeout_seconds)
        return TRUE;
    set_atomic(&args.state, kStateFinished);
    relay_hub::give_up(args);
    return FALSE;
}
