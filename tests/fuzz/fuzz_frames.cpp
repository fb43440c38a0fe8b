// The one reader of frames that both programs use, fed in pieces whose sizes are the input's first bytes.
#include <algorithm>

#include "base/frame.h"
#include "fuzz_input.h"
#include "pipe.h"

namespace {

using namespace relay_hub;

constexpr std::size_t kPieces = 8;
constexpr std::size_t kCapacity = 60'000;
constexpr Patience kNone{std::chrono::milliseconds(0), std::chrono::milliseconds(0)};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kPieces)
        return 0;
    const std::string_view all = text_of(data, size).substr(kPieces);
    test::Pipe pipe(O_NONBLOCK);
    FrameProgress progress;
    std::string body;
    const auto collect = [&](std::string_view piece) { return body += piece, true; };
    std::string_view remaining = all;
    std::size_t at = 0;
    ReadEnd end = ReadEnd::timed_out;
    while (!remaining.empty() && end == ReadEnd::timed_out) {
        // A last piece takes what remains, as far as there is room.
        const std::size_t wanted = at < kPieces ? data[at] : kCapacity;
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
    return 0;
}
