#include "name_pipe/name_pipe_listener.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <mutex>

#include "base/diagnostics.h"
#include "base/signals_blocked.h"
#include "name_pipe/call_back_round.h"
#include "name_pipe/name_pipe_base.h"
#include "name_pipe/name_pipe_client.h"
#include "name_pipe/name_pipe_server.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kExitLimit{1000};
constexpr milliseconds kExitTry{50};
constexpr milliseconds kExitPause{100};

constexpr relay_hub::ListenerThread& the_listener = relay_hub::listener_state.thread;

void join_ended_listener() {
    if (the_listener.joinable)
        (void)pthread_join(the_listener.thread, nullptr);
    the_listener.joinable = false;
}

}  // namespace

void* ListenThread(void*) {
    bool served = false;
    try {
        const std::string base = relay_hub::listener_pipe_name();
        {
            const std::lock_guard lock(the_listener.mutex);
            the_listener.base = base;
        }
        served = ListenPipeClient(base.c_str(), pipe_read_func, pipe_write_func, nullptr);
        if (!served)
            relay_hub::report(RELAY_HUB_HERE, "no call-backs can be served on", base);
    } catch (const std::exception& failure) {
        relay_hub::report(RELAY_HUB_HERE, "the call-back listener ended:", failure.what());
    }
    bool exit_asked = false;
    {
        const std::lock_guard lock(the_listener.mutex);
        the_listener.running = false;
        exit_asked = the_listener.exit_asked;
        the_listener.ended.notify_all();
    }
    if (void (*const tell)() = relay_hub::listener_state.ended_by_command;
        tell != nullptr && served && !exit_asked)
        tell();
    return nullptr;
}

void CNamePipeBase::SetServiceProvider(service_provider_t provider) {
    relay_hub::listener_state.provider = provider;
}

void CNamePipeBase::SetListenerEndedByCommand(void (*tell)()) {
    relay_hub::listener_state.ended_by_command = tell;
}

bool CNamePipeBase::ListenForService() {
    const std::lock_guard lock(the_listener.mutex);
    if (the_listener.running) {
        relay_hub::report(RELAY_HUB_HERE, "the call-back listener already runs on", the_listener.base);
        return false;
    }
    join_ended_listener();
    if (!relay_hub::allocate_answer_buffer())
        return false;
    m_bExitFromListenLoop = false;
    const relay_hub::SignalsBlocked blocked_in_new_thread;
    const int error = pthread_create(&the_listener.thread, nullptr, ListenThread, this);
    if (error != 0) {
        relay_hub::report_error(RELAY_HUB_HERE, error);
        return false;
    }
    the_listener.joinable = the_listener.running = true;
    the_listener.exit_asked = false;
    return true;
}

bool CNamePipeBase::ExitListenService() {
    const relay_hub::Clock::time_point deadline = relay_hub::Clock::now() + kExitLimit;
    const std::string request = relay_hub::terminate_request();
    std::unique_lock lock(the_listener.mutex);
    the_listener.exit_asked = true;
    // Repeated, because a request that arrives while another is being served is dropped with it.
    while (the_listener.running && relay_hub::Clock::now() < deadline) {
        const std::string base = the_listener.base;
        lock.unlock();
        bThreadContinue = false;
        if (!base.empty())
            (void)relay_hub::post(base, request, std::min(deadline, relay_hub::Clock::now() + kExitTry),
                                  true);
        lock.lock();
        (void)the_listener.ended.wait_for(lock, kExitPause, [] { return !the_listener.running; });
    }
    if (the_listener.running)
        return false;
    join_ended_listener();
    CNamePipeBase::m_pbyteResultBuffer.release();
    return true;
}
