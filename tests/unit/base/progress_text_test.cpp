#include "base/progress_text.h"

#include "sandbox.h"

namespace relay_hub {
namespace {

using namespace std::chrono_literals;

TEST(ProgressTexts, SpeedAndTimeLeftAreThoseOfTheLastSeconds) {
    constexpr std::uint64_t kTotal = 1'000'000'000;
    const std::tuple<std::chrono::milliseconds, std::uint64_t, const char*> cases[] = {
        {0ms, 0, "IDS_PROGRESS_BYTES"},
        {900ms, 9'000'000, "IDS_PROGRESS_BYTES"},
        {2000ms, 20'000'000, "IDS_PROGRESS_SPEED · IDS_PROGRESS_MINUTES"},
        {10000ms, 400'000'000, "IDS_PROGRESS_SPEED · IDS_PROGRESS_UNDER_A_MINUTE"},
        {20000ms, 400'000'000, "IDS_PROGRESS_BYTES"},
        {31000ms, kTotal, "IDS_PROGRESS_SPEED"},
    };
    ProgressText text;
    const auto start = ProgressText::Clock::now();
    for (const auto& [at, bytes, end] : cases)
        EXPECT_TRUE(text.text({1, 2, 0, bytes, kTotal, bytes}, start + at).ends_with(end)) << at.count();

    // What was there already, or was left out, was not moved.
    ProgressText resumed;
    (void)resumed.text({0, 2, 0, 0, kTotal}, start);
    EXPECT_EQ(resumed.text({1, 2, 1, kTotal / 2, kTotal}, start + 2s),
              "IDS_PROGRESS_ITEMS · IDS_PROGRESS_PRESENT · IDS_PROGRESS_BYTES");
}

}  // namespace
}  // namespace relay_hub
