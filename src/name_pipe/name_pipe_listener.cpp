#include "name_pipe/name_pipe_listener.h"

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <exception>
#include <mutex>

#include "base/diagnostics.h"
#include "base/frame.h"
#include "base/signals_blocked.h"
#include "name_pipe/name_pipe_base.h"
#include "name_pipe/name_pipe_client.h"
#include "name_pipe/name_pipe_io.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kReaderPause{3000};
constexpr milliseconds kExitLimit{1000};
constexpr milliseconds kExitTry{50};
constexpr milliseconds kExitPause{100};
constexpr unsigned int kMarkerSize = 6;
// Every answer of ours is shorter. A reset command may set a smaller size.
constexpr std::uint32_t kLeastAnswerRoom = 1024;

struct Listener {
    std::mutex mutex;
    std::condition_variable ended;
    // Under mutex.
    pthread_t thread{};
    bool joinable = false;
    bool running = false;
    bool exit_asked = false;
    std::string base;
};

Listener the_listener;

bool allocate_result_buffer() {
    if (CNamePipeBase::m_pbyteResultBuffer.data() != nullptr)
        return true;
    const std::size_t size =
        std::size_t{std::max(kLeastAnswerRoom, CNamePipeBase::m_dwNPOutputBufferSize.load())} + 1;
    if (CNamePipeBase::m_pbyteResultBuffer.allocate(size))
        return true;
    relay_hub::report_memory_error(RELAY_HUB_HERE, errno, size);
    return false;
}

void join_ended_listener() {
    if (the_listener.joinable)
        (void)pthread_join(the_listener.thread, nullptr);
    the_listener.joinable = false;
}

bool handled_by_channel(char* body, unsigned int count) {
    if (count < kMarkerSize || !CNamePipeBase::IsCommandData(body))
        return false;
    CNamePipeBase channel;
    std::string result;
    return channel.ServiceHandle(CNamePipeBase::GetPureData(body), result);
}

void ask_service_provider(char* body, unsigned int count) {
    const service_provider_t provider = relay_hub::listener_state.provider;
    if (provider == nullptr || !allocate_result_buffer())
        return;
    CNamePipeBase::m_pbyteResultBuffer.clear();
    const auto room = static_cast<unsigned int>(CNamePipeBase::m_pbyteResultBuffer.size() - 1);
    const std::uint32_t size =
        std::min(room, std::max(kLeastAnswerRoom, CNamePipeBase::m_dwNPOutputBufferSize.load()));
    CNamePipeBase::m_dwNPOutputSize = provider(body, count, CNamePipeBase::m_pbyteResultBuffer.data(), size);
}

// The length on the wire is the whole buffer's (a size that a reset command made too small cuts nothing);
// what follows the text is not read from it, because its untouched pages are zeros anyway.
void send_padded_answer(int fd) {
    const relay_hub::ZeroedMemory& buffer = CNamePipeBase::m_pbyteResultBuffer;
    const auto text_size = static_cast<std::uint32_t>(strnlen(buffer.data(), buffer.size()));
    const std::uint32_t frame_size = std::max(CNamePipeBase::m_dwNPOutputBufferSize.load(), text_size);
    const relay_hub::FrameHeader header = relay_hub::frame_header(frame_size);
    const std::string start = std::string(header.data(), header.size()).append(buffer.data(), text_size);
    if (relay_hub::write_bytes(fd, start, kReaderPause) == relay_hub::WriteEnd::done)
        (void)relay_hub::write_zeros(fd, frame_size - text_size, kReaderPause);
}

}  // namespace

bool relay_hub::answer_is_waiting() {
    return !CNamePipeBase::m_strResultData.empty() || CNamePipeBase::m_dwNPOutputSize != 0;
}

bool pipe_read_func(int fd, void*) {
    unsigned int count = 0;
    const std::unique_ptr<char[]> body = ReadPipeData(fd, &count);
    CNamePipeBase::ResetStatus();
    if (body && !handled_by_channel(body.get(), count))
        ask_service_provider(body.get(), count);
    return true;
}

bool pipe_write_func(int fd) {
    const std::string& text = CNamePipeBase::m_strResultData;
    if (!text.empty())
        (void)WritePipeData(fd, text.data(), static_cast<unsigned int>(text.size()));
    else if (CNamePipeBase::m_dwNPOutputSize != 0 && CNamePipeBase::m_pbyteResultBuffer.data() != nullptr)
        send_padded_answer(fd);
    return true;
}

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
    if (!allocate_result_buffer())
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
