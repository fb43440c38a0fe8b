#include "name_pipe/call_back_round.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>

#include "base/diagnostics.h"
#include "base/frame.h"
#include "name_pipe/name_pipe_base.h"
#include "name_pipe/pipe_data.h"

namespace {

// Every answer of ours is shorter. A reset command may set a smaller size.
constexpr std::uint32_t kLeastAnswerRoom = 1024;

bool handled_by_channel(char* body, unsigned int count) {
    if (count < relay_hub::kCommandMarker.size() || !CNamePipeBase::IsCommandData(body))
        return false;
    CNamePipeBase channel;
    std::string result;
    return channel.ServiceHandle(CNamePipeBase::GetPureData(body), result);
}

void ask_service_provider(char* body, unsigned int count) {
    const service_provider_t provider = relay_hub::listener_state.provider;
    if (provider == nullptr || !relay_hub::allocate_answer_buffer())
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
    if (relay_hub::write_bytes(fd, start, relay_hub::kReaderPause) == relay_hub::WriteEnd::done)
        (void)relay_hub::write_zeros(fd, frame_size - text_size, relay_hub::kReaderPause);
}

}  // namespace

bool relay_hub::allocate_answer_buffer() {
    if (CNamePipeBase::m_pbyteResultBuffer.data() != nullptr)
        return true;
    const std::size_t size =
        std::size_t{std::max(kLeastAnswerRoom, CNamePipeBase::m_dwNPOutputBufferSize.load())} + 1;
    if (CNamePipeBase::m_pbyteResultBuffer.allocate(size))
        return true;
    relay_hub::report_memory_error(RELAY_HUB_HERE, errno, size);
    return false;
}

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
