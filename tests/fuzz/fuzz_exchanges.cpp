// What a peer writes as its answer, whatever it is: read by the window's side of a pipe, and by the engine's.

#include "base/fifo.h"
#include "engine/front_end_link.h"
#include "fuzz_input.h"
#include "name_pipe/name_pipe_client.h"
#include "sandbox.h"

namespace {

using namespace relay_hub;

constexpr unsigned int kAnswerSize = 100'000;

const std::string& base() {
    static const test::Sandbox sandbox;
    static const std::string path = sandbox.at("pipe");
    return path;
}

// Serves one round: takes a request, writes the bytes, leaves.
void answer_with(std::string_view bytes) {
    const FileDescriptor in(::open((base() + "_IN").c_str(), O_RDONLY | O_CLOEXEC));
    char request[4096];
    (void)!::read(in.get(), request, sizeof request);
    const FileDescriptor out(::open((base() + "_OUT").c_str(), O_WRONLY | O_CLOEXEC));
    (void)write_all(out.get(), bytes.data(), bytes.size());  // a reader that wants no more leaves
}

template <typename Ask>
void exchange_with(std::string_view bytes, const Ask& ask) {
    std::thread peer(answer_with, bytes);
    ask();
    // One that still waits for somebody to open its end.
    std::atomic<bool> joined = false;
    std::thread release([&] {
        while (!joined) {
            const FileDescriptor in(::open((base() + "_IN").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
            const FileDescriptor out(::open((base() + "_OUT").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
    peer.join();
    joined = true;
    release.join();
}

}  // namespace

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ignore_broken_pipes();
    for (const char* end : {"_IN", "_OUT"})
        check(make_fifo(base() + end, 0600), "a pipe");
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = text_of(data, size);
    exchange_with(bytes, [&] {
        std::string request = "request", answer(kAnswerSize, '#');
        const bool got = SendPipeData(base().c_str(), request.data(), static_cast<unsigned>(request.size()),
                                      answer.data(), kAnswerSize);
        const std::string_view body = bytes.substr(std::min(bytes.size(), kFrameHeaderSize));
        const std::size_t length = answer.find('\0');
        check(!got || length == std::string::npos ||
                  body.starts_with(std::string_view(answer).substr(0, length)),
              "an answer is what came");
    });
    exchange_with(bytes, [&] {
        StopToken stop;
        const std::atomic<bool> remote_online = true;
        engine::FrontEndLink link(base(), stop, remote_online);
        (void)link.confirm("a question");
    });
    return 0;
}
