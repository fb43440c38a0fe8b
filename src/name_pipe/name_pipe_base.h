#pragma once
// One channel to or from the link engine: a pair of FIFOs, base + "_IN" (requests) and base + "_OUT"
// (answers), carrying frames of a 4-byte little-endian length and that many bytes.
// As a client, an object frames a message, sends it and waits for the answer; as a server it runs the
// listener thread that serves the engine's call-backs. Sends may be made on any thread but the window's:
// they wait. One mutex spans each send on a base path, so two sends never share a FIFO. A send watches the
// StopToken bound to its thread (stop_token.h) in all its waits, the one for that mutex included.
#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "base/non_copyable.h"
#include "base/zeroed_memory.h"

inline constexpr char kCommandPipe[] = "/tmp/ZEV_KorvaleMarrowglint";
inline constexpr char kNotifyPipe[] = "/tmp/ZEV_KorvaleMarrowglintNotify";
inline constexpr unsigned int kPipeBufferSize = 10485760;

// Values of the "kind" argument of the sends.
inline constexpr unsigned int kCommandData = 1;
inline constexpr unsigned int kUserData = 0;

// Serves one call-back on the listener thread. body is the whole received body, marker included, and
// zero-terminated; answer is zero-filled. Returns non-zero when the answer buffer is to be sent: its text up
// to the first zero, and zeros behind it up to the size of the frame.
using service_provider_t = unsigned int (*)(char* body, unsigned int length, char* answer,
                                            unsigned int answer_size);

namespace relay_hub {

struct ListenerThread {
    std::mutex mutex;
    std::condition_variable ended;
    // Under mutex.
    pthread_t thread{};
    bool joinable = false;
    bool running = false;
    bool exit_asked = false;
    std::string base;
};

// What the one listener of the process serves with; its members are known by the class's names below.
struct ListenerState {
    std::atomic<std::uint32_t> input_size = 8192;   // bytes; kept only
    std::atomic<std::uint32_t> output_size = 8192;  // bytes; the length of a call-back answer
    std::atomic<std::uint32_t> answer_size = 0;     // what the service provider returned
    std::atomic<bool> ends_after_round = false;
    std::atomic<bool> goes_on = false;
    // What the service provider answered: output_size + 1 bytes, so that a text in it always ends. Listener
    // thread only while one runs.
    ZeroedMemory answer;
    std::string command_answer;  // of the last control command; listener thread only
    std::mutex name_mutex;
    std::string name = "/tmp/ZEV_Korvale";  // guarded by name_mutex: set it with SetupParam
    std::atomic<service_provider_t> provider = nullptr;
    std::atomic<void (*)()> ended_by_command = nullptr;
    ListenerThread thread;
};
extern ListenerState listener_state;

}  // namespace relay_hub

class CNamePipeBase : relay_hub::NonCopyable {
  public:
    CNamePipeBase();
    // Sets the object's pipe name and the two class-wide sizes.
    CNamePipeBase(std::string name, unsigned int in_size, unsigned int out_size);
    virtual ~CNamePipeBase();

    // The channel's own control commands. True when command was one of them.
    virtual bool ServiceHandle(std::string command, std::string& result);

    // Class-wide: the base path that the listener serves, and both sizes.
    static void SetupParam(const char* name, unsigned int in_size, unsigned int out_size);
    // Class-wide: who answers call-backs. Set once, before ListenForService.
    static void SetServiceProvider(service_provider_t provider);
    // Class-wide: called on the listener thread when a control command, and not ExitListenService, has ended
    // the listener; ListenForService may then start it again, on another thread. Set once.
    static void SetListenerEndedByCommand(void (*tell)());
    static void ResetStatus();
    // Null is neither. A zero-terminated body may be shorter than the marker only if six bytes can be read.
    static bool IsUserData(const char* body);
    static bool IsCommandData(const char* body);
    static char* GetPureData(char* body);

    // Send without an answer. False when the FIFOs are missing or nobody reads.
    bool NPPostMessage(char* data, unsigned int size, const char* pipe, unsigned int kind);
    bool NPPostMessage(std::string data, std::string pipe, unsigned int kind);
    // Send and wait for the answer. False, with answer untouched, when the send or the wait failed or was
    // stopped. The character form fills at most answer_size bytes.
    bool NPSendMessage(char* data, unsigned int size, char* answer, unsigned int answer_size,
                       const char* pipe, unsigned int kind);
    bool NPSendMessage(std::string data, std::string& answer, std::string pipe, unsigned int kind);

    // Starts the process's one listener thread on m_strPipeName. True on success, false while one runs.
    bool ListenForService();
    // Asks the listener to end (bounded: 1 s for the open) and waits for the thread, with a limit.
    // True when the thread has ended; false when it still runs, and then the answer buffer is kept.
    bool ExitListenService();

    static constexpr auto& m_dwNPInputBufferSize = relay_hub::listener_state.input_size;
    static constexpr auto& m_dwNPOutputBufferSize = relay_hub::listener_state.output_size;
    static constexpr auto& m_dwNPOutputSize = relay_hub::listener_state.answer_size;
    static constexpr auto& m_pbyteResultBuffer = relay_hub::listener_state.answer;
    static constexpr auto& m_strResultData = relay_hub::listener_state.command_answer;
    static constexpr auto& m_strPipeName = relay_hub::listener_state.name;
    static constexpr auto& m_bExitFromListenLoop = relay_hub::listener_state.ends_after_round;

  private:
    // Where a send goes: pipe, else the object's own name, else m_strPipeName.
    [[nodiscard]] std::string target(std::string_view pipe) const;

    std::string m_strOwnPipeName;
};

// The long-lived channel to the command pipe.
extern CNamePipeBase NPClient_object;

namespace relay_hub {

// What stands before the text of a command in the body of a frame.
inline constexpr std::string_view kCommandMarker{"\xC9\xBB\x29\xF9\x00\x01", 6};

// m_strPipeName under its mutex. Any thread.
std::string listener_pipe_name();
// The body of the message that ends a listener.
std::string terminate_request();

}  // namespace relay_hub
