// Frames on a pipe, read as the listener reads them and served as the window serves them.
#include "base/fifo.h"
#include "fuzz_input.h"
#include "link_engine/confirmation.h"
#include "link_engine/engine_callbacks.h"
#include "link_engine/transfer_state.h"
#include "name_pipe/call_back_round.h"
#include "name_pipe/name_pipe_base.h"
#include "name_pipe/pipe_data.h"
#include "unit/name_pipe/support.h"

namespace {

constexpr unsigned int kAnswerSize = 4096;
// What the listener takes.
constexpr std::int32_t kLongestBody = 16 << 20;
constexpr std::size_t kMostBytes = 1'000'000;

// The read end of a pipe that holds the bytes and whose writer has gone.
relay_hub::FileDescriptor pipe_with(std::string_view bytes) {
    test::Pipe pipe(O_NONBLOCK);
    relay_hub::raise_capacity(pipe.writer.get());
    pipe.put(bytes);
    return std::move(pipe.reader);
}

void read_raw_frame(std::string_view bytes) {
    unsigned int count = 0;
    const auto body = ReadPipeData(pipe_with(bytes).get(), &count);
    std::int32_t announced = 0;
    std::memcpy(&announced, bytes.data(), std::min(bytes.size(), sizeof announced));
    const bool believed = bytes.size() >= sizeof announced && announced <= kLongestBody;
    check((body != nullptr) == believed, "a body where a header announces one of a length to be believed");
    if (body == nullptr)
        return;
    check(std::string_view(body.get(), count) ==
              bytes.substr(sizeof announced, static_cast<std::size_t>(std::max(announced, 0))),
          "the body is what came, up to the announced length");
}

void serve(const std::string& request) {
    (void)pipe_read_func(pipe_with(test::frame(request)).get(), nullptr);
    (void)pipe_write_func(relay_hub::FileDescriptor(::open("/dev/null", O_WRONLY | O_CLOEXEC)).get());
    CNamePipeBase::ResetStatus();
    CNamePipeBase::SetupParam("/nonexistent", kAnswerSize, kAnswerSize);
    CleanUpInformationVar();
}

}  // namespace

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    CNamePipeBase::SetupParam("/nonexistent", kAnswerSize, kAnswerSize);
    CNamePipeBase::SetServiceProvider(ServiceProvider);
    // A question would wait twenty seconds for its answer.
    relay_hub::end_confirmations();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = text_of(data, size).substr(0, kMostBytes);
    read_raw_frame(bytes);
    serve(std::string(bytes));
    serve(test::kMarker + std::string(bytes));
    return 0;
}
