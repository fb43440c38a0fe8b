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

TEST(EngineOptions, BadOnesAreNamed) {
    const struct {
        std::vector<std::string> arguments;
        const char* wrong;
    } cases[] = {
        {{}, "--serve DIR is missing"},
        {{"--serve"}, "--serve needs a folder"},
        {{"--serve", "/", "--color"}, "there is no option --color"},
        {{"--serve", "/", "--style", "mac"}, "--style needs posix or windows"},
        {{"--serve", "/", "--delay", "-1"}, "--delay needs milliseconds from 0 to 600000"},
        {{"--serve", "/", "--delay", "1s"}, "--delay needs milliseconds from 0 to 600000"},
        {{"--serve", "/", "--chunk", "0"}, "--chunk needs a number of bytes from 1 on"},
        {{"--serve", "/", "extra"}, "there is no option extra"},
    };
    for (const auto& item : cases) {
        std::string wrong;
        EXPECT_FALSE(parse_options(item.arguments, wrong));
        EXPECT_EQ(wrong, item.wrong);
    }
}

}  // namespace
}  // namespace relay_hub::engine
