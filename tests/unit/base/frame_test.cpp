#include "base/frame.h"

#include "pipe.h"
#include "sandbox.h"

namespace relay_hub {
namespace {

using namespace std::chrono_literals;

class Frames : public testing::Test {
  protected:
    ReadEnd read(Patience patience) {
        FrameProgress progress;
        body_.clear();
        const auto collect = [this](std::string_view piece) { return body_ += piece, true; };
        return read_frame(pipe_.reader.get(), progress, patience, collect);
    }

    const test::Pipe pipe_{O_NONBLOCK};
    std::string body_;
};

TEST_F(Frames, ReadingEndsWhereTheFrameEnds) {
    pipe_.put(std::string("\3\0\0\0one\0\0\0\0\5\0\0\0third", 20));
    for (const char* expected : {"one", "", "third"}) {
        EXPECT_EQ(read({1s, 1s}), ReadEnd::complete);
        EXPECT_EQ(body_, expected);
    }
}

TEST_F(Frames, OneOfManyPiecesHasALimitInAll) {
    constexpr int kSize = 200000;
    ASSERT_GT(fcntl(pipe_.writer.get(), F_SETPIPE_SZ, 2 * kSize), kSize);
    pipe_.put(std::string("\x40\x0D\3\0", 4) + std::string(kSize, 'x'));
    EXPECT_EQ(read({1s, 1s, after(0ms)}), ReadEnd::timed_out);
}

}  // namespace
}  // namespace relay_hub
