#include "engine/options.h"

#include <gtest/gtest.h>

namespace relay_hub::engine {
namespace {

TEST(EngineOptions, GoodCommandLines) {
    std::string wrong;
    const auto options =
        parse_options({"--serve", "/a b", "--style=posix", "--delay", "20", "--chunk=7", "--quiet"}, wrong);
    ASSERT_TRUE(options) << wrong;
    EXPECT_EQ(options->folder, "/a b");
    EXPECT_EQ(options->style, Style::kPosix);
    EXPECT_EQ(options->delay, Milliseconds(20));
    EXPECT_EQ(options->chunk, 7U);
    EXPECT_TRUE(options->quiet);
    EXPECT_TRUE(parse_options({"--help"}, wrong));
}

}  // namespace
}  // namespace relay_hub::engine
