// The one reader of frames that both programs use, fed in pieces whose sizes are the input's first bytes.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "base/fifo.h"
#include "base/frame.h"
#include "fuzz_input.h"

namespace {

using namespace relay_hub;

constexpr std::size_t kPieces = 8;
constexpr std::size_t kCapacity = 60'000;
constexpr Patience kNone{std::chrono::milliseconds(0), std::chrono::milliseconds(0)};

class Pipe {
  public:
    Pipe() { fuzz::check(::pipe2(ends_.data(), O_NONBLOCK | O_CLOEXEC) == 0, "a pipe"); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        ::close(ends_[0]);
        close_writer();
    }
    void write(std::string_view bytes) {
        fuzz::check(::write(ends_[1], bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()),
                    "room in the pipe");
    }
    void close_writer() { ::close(std::exchange(ends_[1], -1)); }
    [[nodiscard]] int reader() const { return ends_[0]; }

  private:
    std::array<int, 2> ends_{};
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kPieces)
        return 0;
    const std::string_view all = fuzz::text_of(data, size).substr(kPieces);
    Pipe pipe;
    FrameProgress progress;
    std::string body;
    const auto collect = [&](std::string_view piece) {
        body += piece;
        return true;
    };
    std::string_view rest = all;
    std::size_t at = 0;
    ReadEnd end = ReadEnd::timed_out;
    while (!rest.empty() && end == ReadEnd::timed_out) {
        // A last piece takes the rest, as far as there is room.
        const std::size_t wanted = at < kPieces ? data[at] : kCapacity;
        const std::string_view piece = rest.substr(0, std::min(std::max<std::size_t>(wanted, 1), kCapacity));
        rest.remove_prefix(piece.size());
        ++at;
        pipe.write(piece);
        end = read_frame(pipe.reader(), progress, kNone, collect);
        fuzz::check(end == ReadEnd::complete || end == ReadEnd::timed_out, "the writer is still there");
    }
    pipe.close_writer();
    if (end == ReadEnd::timed_out)
        end = read_frame(pipe.reader(), progress, kNone, collect);
    const bool whole =
        all.size() >= kFrameHeaderSize && all.size() - kFrameHeaderSize >= progress.announced();
    fuzz::check(end == (whole ? ReadEnd::complete : ReadEnd::closed), "an end that was cut off is told");
    fuzz::check(progress.complete() == whole, "the frame knows whether it is complete");
    const std::string_view came = all.substr(std::min(all.size(), kFrameHeaderSize));
    fuzz::check(body == came.substr(0, progress.announced()), "the body is what came, up to its length");
    return 0;
}
