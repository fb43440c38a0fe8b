#include "base/log.h"

#include <gmock/gmock.h>

#include <deque>

#include "support.h"

namespace {

using testing::MatchesRegex;

TEST(EventLog, AppendsWholeStampedLinesFromAllThreads) {
    const test::Sandbox folder;
    const std::string path = folder.at("log");
    {
        std::deque<test::Background> writers;
        for (int i = 0; i < 4; ++i)
            writers.emplace_back([&] {
                for (int line = 0; line < 25; ++line)
                    write_log(path.c_str(), "a %s %n line");
            });
    }
    std::ifstream file(path);
    int lines = 0;
    for (std::string line; std::getline(file, line); ++lines)
        EXPECT_THAT(line, MatchesRegex("[0-2][0-9]:[0-5][0-9]:[0-6][0-9] a %s %n line"));
    EXPECT_EQ(lines, 100);
}

}  // namespace
