// An answer may be as long as a message can be; nobody may copy it on its way to its reader.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "fake_engine.h"
#include "link_engine/answer_slot.h"

namespace {

constexpr std::size_t kLarge = std::size_t{1} << 20U;
thread_local std::size_t large_blocks = 0;

}  // namespace

// Not inline: the compiler would see malloc and free beside the library's own new and delete.
[[gnu::noinline]] void* operator new(std::size_t size) {
    large_blocks += size >= kLarge ? 1 : 0;
    if (void* block = std::malloc(size))
        return block;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

TEST(LargeAnswer, IsHeldOnceOnItsWayToTheReader) {
    const std::string answer = "<ZEVMSG><T1>" + std::string(4 * kLarge, 'x') + "</T1></ZEVMSG>";
    const test::FakeEngine engine([&](const std::string&) { return answer; });
    CNamePipeBase::SetupParam("", kPipeBufferSize, kPipeBufferSize);
    relay_hub::AnswerCell cell;
    const relay_hub::AnswerScope scope(cell);
    __send_args args;
    testing::internal::CaptureStdout();
    large_blocks = 0;
    set_NP_VAL_CMD_GET_FILE_LIST(&args);
    const std::string received = relay_hub::take_answer();
    const std::size_t held = large_blocks;
    testing::internal::GetCapturedStdout();
    EXPECT_LE(held, 1U);
    EXPECT_TRUE(received == answer);
}
