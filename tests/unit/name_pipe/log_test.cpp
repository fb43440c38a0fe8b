#include "base/log.h"

#include <gmock/gmock.h>

#include <deque>

#include "base/diagnostics.h"
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

TEST(Diagnostics, FollowTheFixedForms) {
    constexpr relay_hub::CallSite kSite{"../src/util/Zev_file_op.cpp", "copy", 12};
    testing::internal::CaptureStderr();
    relay_hub::report(kSite, "message");
    relay_hub::report(kSite, "message", "%s");
    relay_hub::report(kSite, "a", "b", "c");
    relay_hub::report(kSite, "number", -3);
    relay_hub::report_error(kSite, ENOENT);
    relay_hub::report_error(kSite, EACCES, "/a/b");
    relay_hub::report_memory_error(kSite, ENOMEM, 10485761);
    const std::string place = "[FILENAME:../src/util/Zev_file_op.cpp][FUNC:copy][LINE:12]";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              place + " >> message\n" + place + " >> message %s\n" + place + " >> abc\n" + place +
                  " >> number\t-3\n" + place + "[error code:2] >> No such file or directory\n" + place +
                  "[error code:13] >> Permission denied; /a/b\n" + place +
                  "[error code:12] >> Cannot allocate memory; mem_size:10485761\n");
}

}  // namespace
