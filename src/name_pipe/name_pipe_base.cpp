#include "name_pipe/name_pipe_base.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "base/log.h"
#include "name_pipe/channel_lock.h"
#include "name_pipe/name_pipe_client.h"
#include "xml_doc/zev_xml.h"

// Before NPClient_object, which sets its sizes.
relay_hub::ListenerState relay_hub::listener_state;

CNamePipeBase NPClient_object(kCommandPipe, kPipeBufferSize, kPipeBufferSize);

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kUserMarker = "\xBA\x33\x78\xA9\x00\x01"sv;

// The channel's own commands and their fields.
constexpr char kCommandField[] = "NP_Cmd";
constexpr char kTerminate[] = "NP_Cmd_Iterminate_Listen_Thread";
constexpr char kResetParams[] = "NP_Cmd_ResetPipeParams";
constexpr char kNewName[] = "T5";
constexpr char kNewInputSize[] = "T6";
constexpr char kNewOutputSize[] = "T7";
constexpr char kResult[] = "T1";
constexpr char kSuccess[] = "NP_Exe_Result_Success";

void set_pipe_name(std::string name) {
    const std::lock_guard lock(relay_hub::listener_state.name_mutex);
    CNamePipeBase::m_strPipeName = std::move(name);
}

void set_sizes(std::uint32_t in_size, std::uint32_t out_size) {
    CNamePipeBase::m_dwNPInputBufferSize = in_size;
    CNamePipeBase::m_dwNPOutputBufferSize = out_size;
    relay_hub::answer_limit() = out_size;
}

std::string marked(std::string_view payload, unsigned int kind) {
    return std::string(kind == kCommandData ? relay_hub::kCommandMarker : kUserMarker).append(payload);
}

// Stops at the first difference, so that the zero that ends a short body ends the comparison too.
bool starts_with_marker(const char* body, std::string_view marker) {
    for (const char expected : marker)
        if (body == nullptr || *body++ != expected)
            return false;
    return true;
}

void trace_payload(std::string_view heading, std::string_view payload) {
    theLog.WriteParts({heading, payload, "\n"});
}

void apply_pipe_params(CZEVXML& command) {
    if (std::string name = command.Query(kNewName); !name.empty())
        set_pipe_name(std::move(name));
    if (const auto size = static_cast<std::uint32_t>(command.QueryLng(kNewInputSize)); size != 0)
        CNamePipeBase::m_dwNPInputBufferSize = size;
    if (const auto size = static_cast<std::uint32_t>(command.QueryLng(kNewOutputSize)); size != 0) {
        CNamePipeBase::m_dwNPOutputBufferSize = size;
        // Any client of the listener can send this: it may cut no answer of ours.
        relay_hub::answer_limit() = std::max<std::size_t>(relay_hub::answer_limit(), size);
    }
}

}  // namespace

namespace relay_hub {

std::string listener_pipe_name() {
    const std::lock_guard lock(relay_hub::listener_state.name_mutex);
    return CNamePipeBase::m_strPipeName;
}

std::string terminate_request() {
    CZEVXML command;
    command.Generate(kCommandField, std::string(kTerminate));
    return marked(command.GetXML(), kCommandData);
}

}  // namespace relay_hub

// The channel's signatures take their texts by value.
// NOLINTBEGIN(performance-unnecessary-value-param)

CNamePipeBase::CNamePipeBase() = default;

CNamePipeBase::CNamePipeBase(std::string name, unsigned int in_size, unsigned int out_size)
    : m_strOwnPipeName(std::move(name)) {
    set_sizes(in_size, out_size);
}

CNamePipeBase::~CNamePipeBase() = default;

void CNamePipeBase::SetupParam(const char* name, unsigned int in_size, unsigned int out_size) {
    set_pipe_name(name == nullptr ? "" : name);
    set_sizes(in_size, out_size);
}

void CNamePipeBase::ResetStatus() {
    m_strResultData.clear();
    m_dwNPOutputSize = 0;
}

bool CNamePipeBase::IsUserData(const char* body) {
    return starts_with_marker(body, kUserMarker);
}

bool CNamePipeBase::IsCommandData(const char* body) {
    return starts_with_marker(body, relay_hub::kCommandMarker);
}

char* CNamePipeBase::GetPureData(char* body) {
    return body + relay_hub::kCommandMarker.size();
}

std::string CNamePipeBase::target(std::string_view pipe) const {
    if (!pipe.empty())
        return std::string(pipe);
    return m_strOwnPipeName.empty() ? relay_hub::listener_pipe_name() : m_strOwnPipeName;
}

bool CNamePipeBase::NPPostMessage(char* data, unsigned int size, const char* pipe, unsigned int kind) {
    std::string body = marked({data, data == nullptr ? 0 : size}, kind);
    return SendPipeData(target(pipe == nullptr ? "" : pipe).c_str(), body.data(),
                        static_cast<unsigned int>(body.size()), nullptr, 0);
}

bool CNamePipeBase::NPPostMessage(std::string data, std::string pipe, unsigned int kind) {
    return NPPostMessage(data.data(), static_cast<unsigned int>(data.size()), pipe.c_str(), kind);
}

bool CNamePipeBase::NPSendMessage(char* data, unsigned int size, char* answer, unsigned int answer_size,
                                  const char* pipe, unsigned int kind) {
    std::puts("DBG: 0001");
    const std::string_view payload(data, data == nullptr ? 0 : size);
    trace_payload("Enter into CNamePipeBase::NPSendMessage - pInputData=", payload);
    std::string body = marked(payload, kind);
    std::puts("DBG: 0002");
    return SendPipeData(target(pipe == nullptr ? "" : pipe).c_str(), body.data(),
                        static_cast<unsigned int>(body.size()), answer, answer_size);
}

bool CNamePipeBase::NPSendMessage(std::string data, std::string& answer, std::string pipe,
                                  unsigned int kind) {
    trace_payload("Enter into CNamePipeBase::NPSendMessage - strInputData=\n", data);
    return relay_hub::exchange(target(pipe), marked(data, kind), answer, relay_hub::answer_limit(),
                               relay_hub::AnswerKind::text);
}

bool CNamePipeBase::ServiceHandle(std::string command, std::string& result) {
    if (command.find("<ZEVMSG>") == std::string::npos)
        return false;
    CZEVXML document;
    (void)document.LoadXML(command);
    const std::string name = document.Query(kCommandField);
    ResetStatus();
    if (name == kTerminate) {
        m_bExitFromListenLoop = true;
        return true;
    }
    if (name != kResetParams)
        return false;
    m_bExitFromListenLoop = true;
    apply_pipe_params(document);
    CZEVXML answer;
    answer.Generate(kResult, std::string(kSuccess));
    m_strResultData = answer.GetXML();
    result = m_strResultData;
    return true;
}

// NOLINTEND(performance-unnecessary-value-param)
