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
#include "base/zeroed_memory.h"
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

struct Listener {
    std::mutex mutex;
    std::condition_variable ended;
    // Under mutex.
    pthread_t thread{};
    bool joinable = false;
    bool running = false;
    std::string base;
};

Listener the_listener;
std::atomic<service_provider_t> service_provider = nullptr;
// m_dwNPOutputBufferSize + 1 bytes, so that a text in it always ends. Listener thread only while one runs.
relay_hub::ZeroedMemory result_buffer;

bool allocate_result_buffer() {
    if (result_buffer.data() != nullptr)
        return true;
    const std::size_t size = std::size_t{CNamePipeBase::m_dwNPOutputBufferSize} + 1;
    if (result_buffer.allocate(size))
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
    const service_provider_t provider = service_provider;
    if (provider == nullptr || !allocate_result_buffer())
        return;
    result_buffer.clear();
    const auto room = static_cast<unsigned int>(result_buffer.size() - 1);
    const std::uint32_t size = std::min<std::uint32_t>(room, CNamePipeBase::m_dwNPOutputBufferSize);
    CNamePipeBase::m_dwNPOutputSize = provider(body, count, result_buffer.data(), size);
}

// The length on the wire is the whole buffer's; what follows the text is not read from it, because its
// untouched pages are zeros anyway.
void send_padded_answer(int fd) {
    const std::uint32_t frame_size = CNamePipeBase::m_dwNPOutputBufferSize;
    const std::size_t text_size =
        std::min<std::size_t>(strnlen(result_buffer.data(), result_buffer.size()), frame_size);
    const relay_hub::FrameHeader header = relay_hub::frame_header(frame_size);
    const std::string start =
        std::string(header.data(), header.size()).append(result_buffer.data(), text_size);
    if (relay_hub::write_bytes(fd, start, kReaderPause) == relay_hub::WriteEnd::done)
        (void)relay_hub::write_zeros(fd, frame_size - text_size, kReaderPause);
}

}  // namespace

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
    else if (CNamePipeBase::m_dwNPOutputSize != 0 && result_buffer.data() != nullptr)
        send_padded_answer(fd);
    return true;
}

void* ListenThread(void*) {
    try {
        const std::string base = relay_hub::listener_pipe_name();
        {
            const std::lock_guard lock(the_listener.mutex);
            the_listener.base = base;
        }
        if (!ListenPipeClient(base.c_str(), pipe_read_func, pipe_write_func, nullptr))
            relay_hub::report(RELAY_HUB_HERE, "no call-backs can be served on", base);
    } catch (const std::exception& failure) {
        relay_hub::report(RELAY_HUB_HERE, "the call-back listener ended:", failure.what());
    }
    const std::lock_guard lock(the_listener.mutex);
    the_listener.running = false;
    the_listener.ended.notify_all();
    return nullptr;
}

void CNamePipeBase::SetServiceProvider(service_provider_t provider) {
    service_provider = provider;
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
    return true;
}

bool CNamePipeBase::ExitListenService() {
    const relay_hub::Clock::time_point deadline = relay_hub::Clock::now() + kExitLimit;
    const std::string request = relay_hub::terminate_request();
    std::unique_lock lock(the_listener.mutex);
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
    result_buffer.release();
    return true;
}
