// Frames on a pipe, read as the listener reads them and served as the window serves them.
#include "base/fifo.h"
#include "base/frame.h"
#include "fuzz_input.h"
#include "link_engine/confirmation.h"
#include "link_engine/engine_callbacks.h"
#include "link_engine/transfer_state.h"
#include "name_pipe/call_back_round.h"
#include "name_pipe/name_pipe_base.h"
#include "name_pipe/pipe_data.h"
#include "unit/name_pipe/support.h"

namespace {

using namespace relay_hub;

constexpr unsigned int kAnswerSize = 4096;
// What the listener takes.
constexpr std::int32_t kLongestBody = 16 << 20;
constexpr std::size_t kMostBytes = 1'000'000;

// The read end of a pipe that holds the bytes and whose writer has gone.
FileDescriptor pipe_with(std::string_view bytes) {
    test::Pipe pipe(O_NONBLOCK);
    raise_capacity(pipe.writer.get());
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

// The one reader of frames that both programs use, fed in pieces whose sizes are the input's first bytes.
void read_in_pieces(std::string_view input) {
    constexpr std::size_t kPieces = 8;
    constexpr std::size_t kCapacity = 60'000;
    constexpr Patience kNone{std::chrono::milliseconds(0), std::chrono::milliseconds(0)};
    const std::string_view all = input.substr(std::min(input.size(), kPieces));
    test::Pipe pipe(O_NONBLOCK);
    FrameProgress progress;
    std::string body;
    const auto collect = [&](std::string_view piece) { return body += piece, true; };
    std::string_view remaining = all;
    std::size_t at = 0;
    ReadEnd end = ReadEnd::timed_out;
    while (!remaining.empty() && end == ReadEnd::timed_out) {
        // A last piece takes what remains, as far as there is room.
        const std::size_t wanted = at < kPieces ? static_cast<unsigned char>(input[at]) : kCapacity;
        const std::string_view piece =
            remaining.substr(0, std::min(std::max<std::size_t>(wanted, 1), kCapacity));
        remaining.remove_prefix(piece.size());
        ++at;
        pipe.put(piece);
        end = read_frame(pipe.reader.get(), progress, kNone, collect);
        check(end == ReadEnd::complete || end == ReadEnd::timed_out, "the writer is still there");
    }
    pipe.writer.reset();
    if (end == ReadEnd::timed_out)
        end = read_frame(pipe.reader.get(), progress, kNone, collect);
    const bool whole =
        all.size() >= kFrameHeaderSize && all.size() - kFrameHeaderSize >= progress.announced();
    check(end == (whole ? ReadEnd::complete : ReadEnd::closed), "an end that was cut off is told");
    check(progress.complete() == whole, "the frame knows whether it is complete");
    const std::string_view came = all.substr(std::min(all.size(), kFrameHeaderSize));
    check(body == came.substr(0, progress.announced()), "the body is what came, up to its length");
}

void serve(const std::string& request) {
    (void)pipe_read_func(pipe_with(test::frame(request)).get(), nullptr);
    (void)pipe_write_func(FileDescriptor(::open("/dev/null", O_WRONLY | O_CLOEXEC)).get());
    CNamePipeBase::ResetStatus();
    CNamePipeBase::SetupParam("/nonexistent", kAnswerSize, kAnswerSize);
    CleanUpInformationVar();
}

}  // namespace

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    CNamePipeBase::SetupParam("/nonexistent", kAnswerSize, kAnswerSize);
    CNamePipeBase::SetServiceProvider(ServiceProvider);
    // A question would wait twenty seconds for its answer.
    end_confirmations();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = text_of(data, size).substr(0, kMostBytes);
    read_raw_frame(bytes);
    read_in_pieces(bytes);
    serve(std::string(bytes));
    serve(test::kMarker + std::string(bytes));
    return 0;
}
