#include "base/frame.h"

#include "base/file_descriptor.h"
#include "sandbox.h"

namespace relay_hub {
namespace {

using namespace std::chrono_literals;

class Frames : public testing::Test {
  protected:
    Frames() {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_NONBLOCK | O_CLOEXEC), 0);
        reader_.reset(ends[0]);
        writer_.reset(ends[1]);
    }
    void put(const std::string& bytes) const {
        EXPECT_EQ(::write(writer_.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    ReadEnd read(std::string& body, Patience patience) const {
        FrameProgress progress;
        body.clear();
        return read_frame(reader_.get(), progress, patience, [&](std::string_view piece) {
            body += piece;
            return true;
        });
    }

    FileDescriptor reader_;
    FileDescriptor writer_;
};

TEST_F(Frames, ReadingEndsWhereTheFrameEnds) {
    put(std::string("\3\0\0\0one\0\0\0\0\5\0\0\0third", 20));
    std::string body;
    for (const char* expected : {"one", "", "third"}) {
        EXPECT_EQ(read(body, {1s, 1s}), ReadEnd::complete);
        EXPECT_EQ(body, expected);
    }
}

TEST_F(Frames, OneOfManyPiecesHasALimitInAll) {
    constexpr int kSize = 200000;
    ASSERT_GT(fcntl(writer_.get(), F_SETPIPE_SZ, 2 * kSize), kSize);
    put(std::string("\x40\x0D\3\0", 4) + std::string(kSize, 'x'));
    std::string body;
    EXPECT_EQ(read(body, {1s, 1s, after(0ms)}), ReadEnd::timed_out);
}

TEST_F(Frames, OneThatDripsInHasALimitInAll) {
    put(std::string("\xFF\0\0\0", 4));
    std::atomic<bool> over = false;
    std::thread dripping([&] {
        while (!over) {
            put("x");
            std::this_thread::sleep_for(5ms);
        }
    });
    std::string body;
    EXPECT_EQ(read(body, {10s, 10s, after(100ms)}), ReadEnd::timed_out);
    over = true;
    dripping.join();
}

}  // namespace
}  // namespace relay_hub
